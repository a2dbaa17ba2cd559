#include "helpers/calibration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

}  // namespace
