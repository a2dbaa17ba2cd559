// Requests to a nexel: a list of objects, each with one path, its operation and the promise of its
// answer. Promises are resolved on the thread that runs the io_context, with a value or with an
// nx_client_exception.
#pragma once

#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/wire/json.h"
#include "platform/wire/nx_client_exception.h"

/// One path inside a request. It may outlive its caller, who gives up when the process shuts down.
class nexel_object {
 public:
  explicit nexel_object(std::string path) : path_(std::move(path)) {}
  virtual ~nexel_object() = default;

  const std::string& get_path() const { return path_; }

  /// Name of the protocol's operation: "get", "set".
  virtual const char* method() const = 0;
  /// Adds to `params` what the method needs besides the path.
  virtual void write_request_data(nx::json_value& params, nx::json_allocator& allocator) const = 0;
  /// The path and what the object adds to it, as text, written while the data that it is made from
  /// is at hand. Throws nx_error -22 for a number that is not finite or a text longer than a line
  /// may be.
  std::string params_text() const;
  /// `result` is the whole result of the request, {path: value} or {}.
  virtual void process_ok_response(const nx::json_value& result) = 0;
  virtual void process_error_response(const nx_client_exception& error) = 0;
  /// A failure on this side: not connected, no answer in time.
  virtual void report_local_error(const nx_client_exception& error) = 0;

 private:
  const std::string path_;
};

class nexel_request {
 public:
  virtual ~nexel_request() = default;
  void add_object(std::shared_ptr<nexel_object> object) { objects_.push_back(std::move(object)); }
  const std::vector<std::shared_ptr<nexel_object>>& get_objects() const { return objects_; }

 private:
  std::vector<std::shared_ptr<nexel_object>> objects_;
};

class nexel_read_request : public nexel_request {};
class nexel_write_request : public nexel_request {};

/// T: bool, float, int, unsigned int, std::string.
template <class T>
class nexel_read_object : public nexel_object {
 public:
  using nexel_object::nexel_object;
  std::future<T> get_future() { return promise_.get_future(); }

  const char* method() const override;
  void write_request_data(nx::json_value& params, nx::json_allocator& allocator) const override;
  void process_ok_response(const nx::json_value& result) override;
  void process_error_response(const nx_client_exception& error) override;
  void report_local_error(const nx_client_exception& error) override;

 protected:
  std::promise<T> promise_;
};

/// As above; a path that the nexel does not have (-2, and only that) gives the default.
template <class T>
class nexel_read_default_object : public nexel_read_object<T> {
 public:
  nexel_read_default_object(const std::string& path, T default_value)
      : nexel_read_object<T>(path), default_(std::move(default_value)) {}
  void process_error_response(const nx_client_exception& error) override;

 private:
  T default_;
};

/// The answer to a write, shared by the write objects of a request: it succeeds when all of them
/// have, and fails with the first that fails. R: void (a plain write), bool and int (a command with
/// an answer; that of the last one counts).
template <class R>
class nexel_write_response {
 public:
  std::future<R> get_future() { return promise_.get_future(); }
  /// Another write object refers to this; before the request is sent.
  void expect() { ++outstanding_; }
  void succeed(const nx::json_value& result, const std::string& path);
  void fail(const nx_client_exception& error);

 private:
  std::promise<R> promise_;
  unsigned outstanding_ = 0;  // on the I/O thread once the request is sent
  bool done_ = false;
};

class nexel_write_object_base : public nexel_object {
 public:
  using nexel_object::nexel_object;
  const char* method() const override { return "set"; }
};

/// T: bool, float, int, std::string, const char (a literal). R is the kind of answer.
template <class T, class R>
class nexel_write_object : public nexel_write_object_base {
 public:
  nexel_write_object(const std::string& path, const T& value,
                     std::shared_ptr<nexel_write_response<R>> response);
  void write_request_data(nx::json_value& params, nx::json_allocator& allocator) const override;
  void process_ok_response(const nx::json_value& result) override;
  void process_error_response(const nx_client_exception& error) override;
  void report_local_error(const nx_client_exception& error) override;

 private:
  std::conditional_t<std::is_same_v<T, const char>, std::string, T> value_;
  std::shared_ptr<nexel_write_response<R>> response_;
};
