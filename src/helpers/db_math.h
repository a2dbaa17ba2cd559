// Decibels and the linear scale. Powers in dBm and mW, ratios in dB. Calculated in double, since in
// float a sum of very different powers would lose the smaller one.
#pragma once

namespace helpers {

double db_to_linear(double db);
double linear_to_db(double linear);

/// Sum of two powers, dBm: both added on the linear scale, rounded to float once.
float sum_dbm(float a, float b);

}  // namespace helpers
