#include "helpers/guard.h"

#include <boost/exception/diagnostic_information.hpp>
#include <string>

#include "helpers/logger.h"
#include "platform/kvs_client/kvs_client.h"
#include "platform/nexel_client/nx_client_exception.h"
#include "platform/wire/nx_error.h"

namespace helpers {

void log_current_exception(after_logging next, const std::source_location& where) {
  const auto line = static_cast<int>(where.line());
  const auto log = [&]<class... Args>(fmt::format_string<Args...> format, Args&&... args) {
    logger::log(2, where.file_name(), line, where.function_name(), format,
                std::forward<Args>(args)...);
  };
  try {
    throw;
  } catch (const nx_error& error) {
    log("nx_error, function {}, line {}: {} ", where.function_name(), line, error.what());
  } catch (const nx_client_exception& error) {
    log("nx_client_exception, function {}, line {}: {}", where.function_name(), line,
        error.message);
  } catch (const kvs_client_exception& error) {
    log("kvs_client_exception, function {}, line {}: {}", where.function_name(), line,
        error.what());
  } catch (...) {
    const auto text = boost::current_exception_diagnostic_information(true);
    if (next == after_logging::throws_on) {
      log("general exception: {}, throwing", text);
    } else {
      log("general exception: {}", text);
    }
  }
}

}  // namespace helpers
