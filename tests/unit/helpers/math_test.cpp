#include <gtest/gtest.h>

#include <limits>

#include "helpers/db_math.h"
#include "helpers/finite.h"

namespace {

TEST(db_math, powers_add_on_the_linear_scale) {
  struct {
    float a, b, sum;
  } const table[] = {
      {0.0f, 0.0f, 3.0103f},
      {-99.0f, -99.0f, -95.9897f},
      {17.0f, -99.0f, 17.0f},
      {10.0f, 0.0f, 10.41393f},
  };
  for (const auto& row : table)
    EXPECT_NEAR(helpers::sum_dbm(row.a, row.b), row.sum, 1e-4f);
  EXPECT_DOUBLE_EQ(helpers::linear_to_db(helpers::db_to_linear(-37.5)), -37.5);
}

TEST(finite, the_two_texts) {
  const auto failure = [](auto value) -> std::string {
    try {
      helpers::require_finite(value);
    } catch (const nx_error& error) {
      return std::to_string(error.code) + " " + error.message;
    }
    return "none";
  };
  using limits = std::numeric_limits<float>;
  EXPECT_EQ(failure(limits::quiet_NaN()), "-61 Argument value is NaN.");
  EXPECT_EQ(failure(-limits::infinity()), "-61 Argument value is infinite.");
  EXPECT_EQ(failure(limits::max()), "none");
  EXPECT_EQ(failure(std::string("nan")), "none");
}

}  // namespace
