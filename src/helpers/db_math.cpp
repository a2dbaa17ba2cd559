#include "helpers/db_math.h"

#include <cmath>

namespace helpers {

double db_to_linear(double db) {
  return std::pow(10.0, db / 10.0);
}

double linear_to_db(double linear) {
  return 10.0 * std::log10(linear);
}

float sum_dbm(float a, float b) {
  return static_cast<float>(linear_to_db(db_to_linear(a) + db_to_linear(b)));
}

}  // namespace helpers
