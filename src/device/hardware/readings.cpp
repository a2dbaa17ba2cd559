#include "device/hardware/readings.h"

#include "platform/wire/nx_client_exception.h"

namespace device::hardware {

float plausible(float number, reading_kind kind, const std::string& path) {
  if (judge(kind, number) != verdict::refused) return number;
  throw nx_client_exception{nx_error::invalid, refusal_text(kind, number), path};
}

float read_number(nexel_client_api& client, const std::string& path, reading_kind kind) {
  return plausible(read<float>(client, path), kind, path);
}

}  // namespace device::hardware
