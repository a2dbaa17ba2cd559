// The log of whole cycles: at "debug" it has every line of every channel, each with its subject.
#include <gtest/gtest.h>

#include <set>

#include "helpers/logger.h"
#include "platform/note_log/flood_guard.h"
#include "tests/support/log_capture.h"
#include "tests/support/plant_node.h"

namespace {

using namespace std::chrono_literals;
using test::plant_node;

class debug_log : public testing::TestWithParam<std::string> {
 protected:
  ~debug_log() override {
    note_log::set_observer({});
    logger::instance().level = 2;
  }
};

TEST_P(debug_log, swallows_no_line_and_tells_directions_and_channels_apart) {
  plant_node node(GetParam());
  node.face_itself();
  node.start();
  node.add_channels();
  node.run_for(20s);
  note_log::flood_guard guard;
  std::set<std::string> swallowed;
  std::set<std::string> subjects;
  note_log::set_observer([&](const note_log::record& record) {
    const auto now = helpers::waiting::instance().steady_now();
    for (const auto& summary : guard.take_summaries(now))
      swallowed.insert(summary.channel + " [" + summary.subject + "]: " + summary.text);
    guard.admit(record, now);
    if (record.text.starts_with("Is blocked: ")) subjects.insert(record.subject);
  });
  logger::instance().level = 0;
  node.disturb(node.channels()[5], 3.0);
  node.run_for(30s);
  note_log::set_observer({});
  for (const auto& summary : guard.take_all())
    swallowed.insert(summary.text);
  for (const auto& line : swallowed)
    ADD_FAILURE() << line;
  EXPECT_GE(subjects.size(), node.channels().size());
  for (const auto& subject : subjects) {
    EXPECT_TRUE(subject.starts_with("rx ") || subject.starts_with("tx ")) << subject;
  }
}

INSTANTIATE_TEST_SUITE_P(models, debug_log, testing::ValuesIn(models::names()),
                         [](const auto& model) { return std::string(model.param); });

}  // namespace
