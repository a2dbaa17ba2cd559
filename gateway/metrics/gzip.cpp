#include "gateway/metrics/gzip.h"

#define ZLIB_CONST
#include <zlib.h>

#include <new>

namespace gateway {

bool takes_gzip(std::string_view accept_encoding) {
  return accept_encoding.find("gzip") != accept_encoding.npos &&
         accept_encoding.find("q=") == accept_encoding.npos;
}

std::string gzipped(const std::string& text) {
  constexpr int gzip_window = MAX_WBITS + 16;
  constexpr int memory_level = 8;
  z_stream stream{};
  if (deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, gzip_window, memory_level,
                   Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::bad_alloc();
  }
  std::string out(deflateBound(&stream, text.size()), '\0');
  stream.next_in = reinterpret_cast<const Bytef*>(text.data());
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(out.data());
  stream.avail_out = static_cast<uInt>(out.size());
  deflate(&stream, Z_FINISH);  // the room is for all of it
  out.resize(stream.total_out);
  deflateEnd(&stream);
  return out;
}

}  // namespace gateway
