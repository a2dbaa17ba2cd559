#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <thread>

#include "helpers/logger.h"
#include "platform/note_log/flood_guard.h"
#include "platform/note_log/journal.h"
#include "platform/note_log/line_layout.h"
#include "platform/note_log/repeat_fold.h"
#include "platform/note_log/stderr_sink.h"
#include "platform/note_log/waitless_output.h"
#include "tests/support/environment.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

constexpr auto noon = std::chrono::system_clock::time_point{1769860800s + 45ms};

std::string laid_out(const std::string& channel, const std::string& text,
                     note_log::line_style style = {}) {
  return note_log::layout(note_log::split_trace(note_log::info, channel, text), noon, style);
}

TEST(line_layout, one_readable_line_whatever_the_record_holds) {
  const auto trace = note_log::getCodeTrace("src/helpers/logger.cpp", 31);
  const std::array<std::string, 3> table[] = {
      {"src/base/manager/line.cpp:12:run", "Text.", "line.cpp:12:run: Text."},
      {"config", "Text." + trace, "config: Text."},
      {"a/b.cpp:1:f", "operator/", "b.cpp:1:f: operator/"},
      {"x.cpp:1:a/b", "first\nsecond\n", "x.cpp:1:a/b: first | second"},
      {"c", "bell\a and \x1b[31m", "c: bell\\x07 and \\x1b[31m"},
      {"c", "\u009b1m \u202e \u2028 caf\u00e9", R"(c: \u009b1m \u202e \u2028 café)"},
      {"c", "port [at home:far]", "c: port [at home:far]"},
      {"c", "", "c: "},
  };
  for (const auto& [channel, text, expected] : table)
    EXPECT_EQ(laid_out(channel, text), "2026-01-31T12:00:00.045Z info " + expected + "\n");
  EXPECT_EQ(laid_out("a/b.cpp:1:f", "Text." + trace, {true, true}),
            "<6>b.cpp:1:f: Text. [at src/helpers/logger.cpp:31]\n");
  const note_log::record of_a_channel{note_log::info, "a/b.cpp:1:f", "Text.", {}, "rx 19\n"};
  EXPECT_EQ(note_log::layout(of_a_channel, noon, {true, false}),
            "<6>b.cpp:1:f [rx 19 | ]: Text.\n");
}

TEST(line_layout, knows_the_journal_by_its_stream) {
  struct stat status {};
  ASSERT_EQ(::fstat(STDERR_FILENO, &status), 0);
  const auto own = fmt::format("{}:{}", status.st_dev, status.st_ino);
  const auto other = fmt::format("{}:{}", status.st_dev, status.st_ino + 1);
  for (const auto& [value, expected] :
       {std::pair<std::optional<std::string>, bool>{own, true}, {other, false}, {{}, false}}) {
    const test::environment_variable journal("JOURNAL_STREAM", value);
    EXPECT_EQ(note_log::stderr_is_journal(), expected) << value.value_or("not set");
  }
}

TEST(journal, entries_carry_fields_and_a_silent_journal_is_told) {
  const test::temp_folder folder;
  const auto path = folder.file("journal");
  const note_log::journal_socket journal(path);
  EXPECT_FALSE(journal.send("MESSAGE=nobody is there\n"));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  const int listening = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0);
  ASSERT_EQ(::bind(listening, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
  struct {
    note_log::record rec;
    std::string expected;
  } const table[] = {
      {{note_log::warning, "src/a/b.cpp:12:run", "Text", {}},
       "CHANNEL=b.cpp:12:run\nCODE_FILE=src/a/b.cpp\nCODE_LINE=12\nCODE_FUNC=run\n"},
      {{note_log::warning, "leds", "Text", " [at src/leds.cpp:7]"},
       "CHANNEL=leds\nCODE_FILE=src/leds.cpp\nCODE_LINE=7\n"},
      {{note_log::warning, "nexel_api", "Text", {}}, "CHANNEL=nexel_api\n"},
      {{note_log::warning, "leds", "Text", {}, "tx 19230000"},
       "CHANNEL=leds\nSUBJECT=tx 19230000\n"},
      {{note_log::warning, "a\nPRIORITY=0", "Text", {}},
       std::string("CHANNEL\n\x0c\0\0\0\0\0\0\0", 16) + "a\nPRIORITY=0\n"},
  };
  for (const auto& row : table) {
    EXPECT_TRUE(journal.send(journal_entry(row.rec, "message", "daemon")));
    std::array<char, 512> received{};
    const auto size = ::recv(listening, received.data(), received.size(), 0);
    EXPECT_EQ(std::string(received.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))),
              "MESSAGE=message\nPRIORITY=4\nSYSLOG_IDENTIFIER=daemon\n" + row.expected);
  }
  EXPECT_FALSE(journal.send(std::string(std::size_t{16} * 1024 * 1024, 'x')));
  ::close(listening);
}

/// What is written of records that come at these times.
class folded {
 public:
  void say(const std::string& text, note_log::folding folds = note_log::folding::places) {
    note_log::record rec{note_log::info, "a.cpp:1:f", text, {}};
    rec.folds = folds;
    sum_up();
    if (fold_.admit(rec, now_)) written_.push_back(text);
  }
  void pass(std::chrono::milliseconds time) { now_ += time; }
  std::vector<std::string> take() {
    sum_up();
    return std::exchange(written_, {});
  }
  void end() {
    for (const auto& summary : fold_.take_all())
      written_.push_back(summary.text);
  }

 private:
  void sum_up() {
    for (const auto& summary : fold_.take_summaries(now_))
      written_.push_back(summary.text);
  }

  note_log::repeat_fold fold_;
  note_log::repeat_fold::time_point now_{};
  std::vector<std::string> written_;
};

TEST(repeat_fold, tells_a_fault_at_its_begin_and_at_its_end) {
  folded log;
  for (int i = 0; i < 20; ++i) {
    log.say("away");
    log.pass(5s);
  }
  EXPECT_THAT(log.take(), ElementsAre("away"));
  log.pass(25s);
  EXPECT_THAT(log.take(), ElementsAre("repeated 19 times within 95 s: away"));
  log.say("away");
  log.say("all", note_log::folding::none);
  log.say("all", note_log::folding::none);
  EXPECT_THAT(log.take(), ElementsAre("away", "all", "all"));
  for (int i = 0; i < 361; ++i) {
    log.pass(10s);
    log.say("away");
  }
  EXPECT_THAT(log.take(), ElementsAre("repeated 359 times within 3590 s: away"));
  log.end();
  EXPECT_THAT(log.take(), ElementsAre("repeated 2 times within 10 s: away"));
}

TEST(repeat_fold, counts_the_rest_of_a_burst_from_one_place) {
  folded log;
  for (int i = 0; i < 40; ++i) {
    log.say(fmt::format("channel {}", i));
    log.say(fmt::format("important {}", i % 2), note_log::folding::repeats);
    log.pass(100ms);
  }
  log.pass(2s);
  EXPECT_THAT(log.take(),
              ElementsAre("channel 0", "important 0", "channel 1", "important 1", "channel 2",
                          "channel 3", "36 more lines like these, the last: channel 39"));
  log.say("channel 41");
  EXPECT_THAT(log.take(), ElementsAre("channel 41"));
}

TEST(flood_guard, sums_up_what_repeats_within_a_second) {
  note_log::flood_guard guard;
  const note_log::record flood{note_log::error, "channel", "no device", {}};
  const note_log::record other{note_log::error, "elsewhere", "no device", {}};
  const auto begin = note_log::flood_guard::time_point{};
  unsigned admitted = 0;
  for (int i = 0; i < 50; ++i)
    admitted += guard.admit(flood, begin + i * 10ms) ? 1 : 0;
  EXPECT_EQ(admitted, 10u);
  for (int i = 0; i < 10; ++i)
    EXPECT_TRUE(guard.admit(other, begin + 600ms)) << "another channel is no repetition";
  const note_log::record of_another{note_log::error, "channel", "no device", {}, "tx 19230000"};
  EXPECT_TRUE(guard.admit(of_another, begin + 600ms)) << "nor is another subject";
  EXPECT_TRUE(guard.take_summaries(begin + 999ms).empty());
  const auto summaries = guard.take_summaries(begin + 1s);
  ASSERT_EQ(summaries.size(), 1u);
  EXPECT_EQ(summaries[0].text, "repeated 40 times: no device");
  EXPECT_EQ(summaries[0].severity, note_log::error);
  EXPECT_TRUE(guard.admit(flood, begin + 1s)) << "a new second begins anew";
  EXPECT_TRUE(guard.take_all().empty());
}

TEST(waitless_output, keeps_what_is_not_taken_and_counts_what_is_lost) {
  constexpr unsigned lines = 10'000;  // more than pipe and memory hold
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe2(pipe.data(), O_CLOEXEC), 0);
  ASSERT_EQ(::fcntl(pipe[0], F_SETFL, O_NONBLOCK), 0);
  note_log::waitless_output output(pipe[1]);
  for (unsigned i = 0; i < lines; ++i)
    output.write(fmt::format("line {:060}\n", i));
  EXPECT_EQ(output.take_lost(), 0U) << "others still wait";

  std::string taken;
  const auto take = [&] {
    std::array<char, 4096> piece{};
    for (;;) {
      const auto size = ::read(pipe[0], piece.data(), piece.size());
      if (size <= 0) return;
      taken.append(piece.data(), static_cast<std::size_t>(size));
    }
  };
  take();
  output.write("too late\n");  // else it would stand before the word of those that were lost
  unsigned lost = 0;
  while (lost == 0) {
    take();
    lost = output.take_lost();
  }
  output.write("and on\n");
  take();
  std::string expected;
  for (unsigned i = 0; i < lines + 1 - lost; ++i)
    expected += fmt::format("line {:060}\n", i);
  EXPECT_EQ(taken, expected + "and on\n");
  EXPECT_GE(expected.size(), note_log::waitless_output::most_waiting_bytes);
  ::close(pipe[0]);
  ::close(pipe[1]);
}

TEST(note_log, a_flood_on_stderr_is_ten_lines_and_a_sum) {
  note_log::flush();
  testing::internal::CaptureStderr();
  for (int i = 0; i < 25; ++i)
    note_log::write(note_log::warning, "flood", "again and again");
  note_log::flush();
  const auto lines = testing::internal::GetCapturedStderr();
  // A machine that stalls may see the second end within the flood: the sum of all is fixed.
  EXPECT_GE(std::count(lines.begin(), lines.end(), '\n'), 11);
  EXPECT_THAT(lines, testing::HasSubstr("warning flood: repeated "));
}

struct logger_test : testing::Test {
  ~logger_test() override { logger::instance().level = 2; }
};

TEST_F(logger_test, drops_below_the_threshold_before_anything_is_formatted) {
  for (const auto& [setting, expected] :
       {std::pair<std::string, unsigned>{"debug", 0}, {"verbose", 1}, {"Debug", 2}, {"", 2}}) {
    EXPECT_EQ(logger::get_log_level(setting), expected) << setting;
  }
  const std::vector<std::vector<std::string>> shown = {
      {"detail", "report", "message"}, {"report", "message"}, {"message"}};
  for (int threshold = 0; threshold <= 2; ++threshold) {
    logger::instance().level = threshold;
    const test::log_capture log;
    LUMORA_LOG(0, "detail");
    LUMORA_LOG(1, "{}", "report");
    LUMORA_LOG(2, "mess{}", "age");
    EXPECT_EQ(log.texts(), shown[static_cast<std::size_t>(threshold)]);
  }
}

TEST_F(logger_test, records_carry_location_severity_and_trace) {
  const test::log_capture log;
  logger::log(2, "src/a/b.cpp", 12, "run", "loss {} dB", 0.5f);
  LUMORA_LOG_DIRECT(3, "create_leds", "No panel.");
  [](auto) { LUMORA_LOG(2, "Said in a lambda."); }(__LINE__);
  const auto records = log.records();
  ASSERT_EQ(records.size(), 3u);
  EXPECT_EQ(records[0].channel, "src/a/b.cpp:12:run");
  EXPECT_EQ(records[0].severity, note_log::info);
  EXPECT_EQ(records[0].text, "loss 0.5 dB");
  EXPECT_EQ(records[0].trace, note_log::getCodeTrace("src/helpers/logger.cpp", 31));
  EXPECT_EQ(records[1].channel, "create_leds");
  EXPECT_EQ(records[1].severity, note_log::error);
  EXPECT_EQ(records[1].text, "No panel.");
  EXPECT_THAT(records[2].channel, testing::EndsWith(":TestBody"));
}

TEST_F(logger_test, records_carry_the_innermost_subject_of_their_own_thread) {
  const test::log_capture log;
  {
    const log_subject direction("rx");
    LUMORA_LOG(2, "direction");
    {
      const log_subject channel("rx", 19230000);
      LUMORA_LOG(2, "channel");
      std::thread([] { LUMORA_LOG(2, "elsewhere"); }).join();
    }
    LUMORA_LOG(2, "direction again");
  }
  LUMORA_LOG(2, "nobody");
  std::vector<std::string> subjects;
  for (const auto& record : log.records())
    subjects.push_back(record.subject);
  EXPECT_THAT(subjects, ElementsAre("rx", "rx 19230000", "", "rx", ""));
}

TEST_F(logger_test, direct_records_pass_the_library_filter_alone) {
  const auto seen = [](const std::optional<std::string>& setting) {
    const test::environment_variable lowest("NOTE_LOG_SEVERITY", setting);
    note_log::configure_from_environment();
    const test::log_capture log;
    LUMORA_LOG_DIRECT(3, "c", "error");
    LUMORA_LOG_DIRECT(4, "c", "warning");
    LUMORA_LOG(2, "info");
    LUMORA_LOG_DIRECT(7, "c", "debug");
    return log.texts();
  };
  EXPECT_THAT(seen({}), ElementsAre("error", "warning", "info"));
  EXPECT_THAT(seen("debug"), ElementsAre("error", "warning", "info", "debug"));
  EXPECT_THAT(seen("warning"), ElementsAre("error", "warning"));
  EXPECT_THAT(seen("loud"), ElementsAre("error", "warning", "info"));
  note_log::configure_from_environment();
}

}  // namespace
