// Decibels and the linear scale. Powers in dBm and mW, ratios in dB; worked out in double, since a
// sum of powers that lie far apart loses the smaller one in float.
#pragma once

namespace helpers {

double db_to_linear(double db);
double linear_to_db(double linear);

/// Sum of two powers, dBm: both added on the linear scale, rounded to float once.
float sum_dbm(float a, float b);

}  // namespace helpers
