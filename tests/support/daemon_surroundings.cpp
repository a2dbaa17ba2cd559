#include "tests/support/daemon_surroundings.h"

#include <stdlib.h>

#include "helpers/calibration.h"
#include "helpers/redis.h"
#include "platform/kvs_client/kvs_client.h"
#include "tests/support/temp_folder.h"

namespace test {

void prepare_memory_store() {
  setenv("KVS_URL", "memory:", 1);
  setenv("REDIS_CONF_HASH_TAG", "{conf}", 1);
  setenv("REDIS_DATA_HASH_TAG", "{data}", 1);
  kvs_memory::clear();
  kvs_memory::set_available(true);
  kvs_memory::set("{data}:qz:status", "ok");
  kvs_memory::set("{conf}:qz:mounts", "/mnt/store");
  kvs_memory::set("{data}:nx/system/info:data/swVersion", "1.0.0");
  redis::instance().reset_for_test();
}

void load_board_file(const std::string& text) {
  const temp_folder folder;
  calibration::instance().reset();
  calibration::instance().read_calibration_values(folder.write("lumora.conf", text));
}

}  // namespace test
