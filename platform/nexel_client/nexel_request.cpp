#include "platform/nexel_client/nexel_request.h"

#include <rapidjson/document.h>

#include "platform/wire/failure.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/limits.h"
#include "platform/wire/nx_error.h"

namespace {

const nx::json_value& answer_of(const nx::json_value& result, const std::string& path) {
  if (const auto* answer = nx::member_of(result, path.c_str())) return *answer;
  throw nx_client_exception{nx_error::invalid, "The answer holds no value for " + path, path};
}

template <class T>
T convert_answer(const nx::json_value& result, const std::string& path) {
  try {
    return nx::from_json<T>(answer_of(result, path));
  } catch (const nx_client_exception&) {
    throw;
  } catch (...) {
    const auto found = nx::current_failure();
    throw nx_client_exception{found.code, found.message, path};
  }
}

std::exception_ptr pointer_to(const nx_client_exception& error) {
  return std::make_exception_ptr(error);
}

}  // namespace

std::string nexel_object::params_text() const {
  nx::json_document params(rapidjson::kObjectType);
  params.AddMember("path", nx::to_json(path_, params.GetAllocator()), params.GetAllocator());
  write_request_data(params, params.GetAllocator());
  std::string text = nx::json_text(params);
  constexpr std::size_t envelope = 128;
  if (text.size() + envelope > nx::limits::line_bytes) {
    throw nx_error(nx_error::invalid, "Request of " + std::to_string(text.size()) +
                                          " bytes is beyond the limit of " +
                                          std::to_string(nx::limits::line_bytes));
  }
  return text;
}

template <class T>
const char* nexel_read_object<T>::method() const {
  return "get";
}

template <class T>
void nexel_read_object<T>::write_request_data(nx::json_value&, nx::json_allocator&) const {}

template <class T>
void nexel_read_object<T>::process_ok_response(const nx::json_value& result) {
  try {
    promise_.set_value(convert_answer<T>(result, this->get_path()));
  } catch (const nx_client_exception&) {
    promise_.set_exception(std::current_exception());
  }
}

template <class T>
void nexel_read_object<T>::process_error_response(const nx_client_exception& error) {
  promise_.set_exception(pointer_to(error));
}

template <class T>
void nexel_read_object<T>::report_local_error(const nx_client_exception& error) {
  promise_.set_exception(pointer_to(error));
}

template <class T>
void nexel_read_default_object<T>::process_error_response(const nx_client_exception& error) {
  if (error.code == nx_error::not_found) {
    this->promise_.set_value(default_);
  } else {
    this->promise_.set_exception(pointer_to(error));
  }
}

template <class R>
void nexel_write_response<R>::succeed(const nx::json_value& result, const std::string& path) {
  if (outstanding_ > 0) --outstanding_;
  if (done_) return;
  try {
    if constexpr (std::is_void_v<R>) {
      if (outstanding_ > 0) return;
      done_ = true;
      promise_.set_value();
    } else {
      R answer = convert_answer<R>(result, path);
      if (outstanding_ > 0) return;
      done_ = true;
      promise_.set_value(answer);
    }
  } catch (const nx_client_exception& error) {
    fail(error);
  }
}

template <class R>
void nexel_write_response<R>::fail(const nx_client_exception& error) {
  if (done_) return;
  done_ = true;
  promise_.set_exception(pointer_to(error));
}

template <class T, class R>
nexel_write_object<T, R>::nexel_write_object(const std::string& path, const T& value,
                                             std::shared_ptr<nexel_write_response<R>> response)
    : nexel_write_object_base(path),
      value_([&value] {
        if constexpr (std::is_same_v<T, const char>) {
          return std::string(&value);
        } else {
          return value;
        }
      }()),
      response_(std::move(response)) {
  response_->expect();
}

template <class T, class R>
void nexel_write_object<T, R>::write_request_data(nx::json_value& params,
                                                  nx::json_allocator& allocator) const {
  params.AddMember("value", nx::to_json(value_, allocator), allocator);
}

template <class T, class R>
void nexel_write_object<T, R>::process_ok_response(const nx::json_value& result) {
  response_->succeed(result, get_path());
}

template <class T, class R>
void nexel_write_object<T, R>::process_error_response(const nx_client_exception& error) {
  response_->fail(error);
}

template <class T, class R>
void nexel_write_object<T, R>::report_local_error(const nx_client_exception& error) {
  response_->fail(error);
}

template class nexel_read_object<bool>;
template class nexel_read_object<float>;
template class nexel_read_object<int>;
template class nexel_read_object<unsigned int>;
template class nexel_read_object<std::string>;
template class nexel_read_default_object<std::string>;

template class nexel_write_response<void>;
template class nexel_write_response<bool>;
template class nexel_write_response<int>;

#define INSTANTIATE_WRITES_OF(T)              \
  template class nexel_write_object<T, void>; \
  template class nexel_write_object<T, bool>; \
  template class nexel_write_object<T, int>;
INSTANTIATE_WRITES_OF(bool)
INSTANTIATE_WRITES_OF(float)
INSTANTIATE_WRITES_OF(int)
INSTANTIATE_WRITES_OF(std::string)
INSTANTIATE_WRITES_OF(const char)
#undef INSTANTIATE_WRITES_OF

#ifdef __SANITIZE_THREAD__
// An exception is passed from the I/O thread to the caller by a reference count inside libstdc++,
// which is built without the sanitizer and therefore looks unordered to it.
extern "C" __attribute__((weak, visibility("default"))) const char* __tsan_default_suppressions() {
  return "race:std::__exception_ptr::exception_ptr::_M_release\n";
}
#endif
