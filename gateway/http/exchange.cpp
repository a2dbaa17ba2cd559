#include "gateway/http/exchange.h"

namespace gateway {

answer refusal(unsigned status, std::string text) {
  answer made;
  made.status = status;
  made.body = std::move(text) + "\n";
  return made;
}

answer json_answer(std::string body) {
  answer made;
  made.type = "application/json";
  made.body = std::move(body);
  return made;
}

}  // namespace gateway
