#include "helpers/calibration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "helpers/logger.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_folder.h"

namespace {

struct calibration_test : testing::Test {
  ~calibration_test() override {
    calibration::instance().reset();
    logger::instance().level = 2;
  }
  const test::temp_folder folder;
  calibration& board = calibration::instance();
};

TEST_F(calibration_test, reads_what_it_can_and_names_the_rest) {
  const std::string longest(255, 'k');
  const auto path = folder.write("lumora.conf",
                                 "cal_linerx_to_oscrx 1.5 extra\n"
                                 "  \tcal_indented\t-0.25\n"
                                 "cal_alone\n"
                                 "\n"
                                 "cal_words no number\n"
                                 "cal_twice 1\n"
                                 "cal_twice 2\r\n" +
                                     longest + " 3\n" + longest + "9 4\n" + "cal_last 1e1");
  const test::log_capture log;
  board.read_calibration_values(path);
  EXPECT_THAT(
      log.texts(),
      testing::ElementsAre(
          "Reading calibration file " + path, "Read calibration value cal_linerx_to_oscrx = 1.5",
          "Read calibration value cal_indented = -0.25",
          "Failed to read calibration value 'cal_alone'", "Failed to read calibration value ''",
          "Failed to read calibration value 'cal_words no number'",
          "Read calibration value cal_twice = 1", "Read calibration value cal_twice = 2",
          "Read calibration value " + longest + " = 3",
          "Failed to read calibration value '" + longest + "9 4'",
          "Read calibration value cal_last = 10"));
  EXPECT_EQ(board.get_value("cal_linerx_to_oscrx"), 1.5f);
  EXPECT_EQ(board.get_value("cal_twice"), 2.0f);
  EXPECT_EQ(board.get_value(longest), 3.0f);
}

TEST_F(calibration_test, refuses_what_no_board_has_and_says_where_and_why) {
  const auto path = folder.write("lumora.conf",
                                 "cal_mon_to_boostertx 12.75\n"
                                 "cal_mon_to_boostertx nan\n"
                                 "cal_mon_to_preamptx NaN\n"
                                 "cal_clientrx_to_mon -inf\n"
                                 "cal_mon_to_clienttx 1e39\n"
                                 "cal_linerx_to_oscrx 40.5\n"
                                 "cal_osctx_to_linetx -40\n"
                                 "cal_dc_fixed_tx -660\n"
                                 "cal_dc_fixed_tx 10001\n"
                                 "serial_number 4711\n"
                                 "lot_number inf\n");
  const test::log_capture log;
  board.read_calibration_values(path);
  std::vector<std::string> refused;
  for (const auto& text : log.texts()) {
    if (text.starts_with("Refused")) refused.push_back(text.substr(text.find("value ") + 6));
  }
  EXPECT_THAT(refused, testing::ElementsAre(
                           "cal_mon_to_boostertx = nan in line 2: it is NaN",
                           "cal_mon_to_preamptx = nan in line 3: it is NaN",
                           "cal_clientrx_to_mon = -inf in line 4: it is infinite",
                           "cal_mon_to_clienttx = inf in line 5: it is infinite",
                           "cal_linerx_to_oscrx = 40.5 in line 6: no board has more than 40 dB",
                           "cal_dc_fixed_tx = 10001 in line 9: no board has more than 10000 ps/nm",
                           "lot_number = inf in line 11: it is infinite"));
  EXPECT_EQ(board.get_value("cal_mon_to_boostertx"), 12.75f) << "the good line before stays";
  EXPECT_EQ(board.get_value("cal_mon_to_preamptx"), 0.0f);
  EXPECT_EQ(board.get_value("cal_osctx_to_linetx"), -40.0f);
  EXPECT_EQ(board.get_value("cal_dc_fixed_tx"), -660.0f);
  EXPECT_EQ(board.get_value("serial_number"), 4711.0f);
}

// What is no calibration file counts as none, and holds nobody up.
TEST_F(calibration_test, takes_no_pipe_device_folder_or_image) {
  const auto pipe = folder.file("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const auto image = folder.file("image");
  ASSERT_TRUE(std::ofstream(image).put('x'));
  std::filesystem::resize_file(image, 1'000'000'000);  // sparse
  const std::pair<std::string, std::string> table[] = {
      {pipe, " is not a regular file"},
      {"/dev/zero", " is not a regular file"},
      {folder.path(), " is not a regular file"},
      {image, " is longer than 262144 bytes"},
  };
  for (const auto& [path, fault] : table) {
    const test::log_capture log;
    board.read_calibration_values(path);
    EXPECT_THAT(log.texts(),
                testing::ElementsAre("Reading calibration file " + path,
                                     "Failed to read a calibration value: " + path + fault,
                                     "No calibration of this board in " + path +
                                         ": every loss within the node counts as 0 dB, and powers "
                                         "are wrong by that. Put the board's file there and start "
                                         "again"));
  }
}

}  // namespace
