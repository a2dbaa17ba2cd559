// A client's request: a JSON document, handled by a member function of the owner, which answers
// true or false; an exception it throws is the client's error. Runs on the server's threads. Once
// the owner is gone, the answer is the error -2.
#pragma once

#include <memory>
#include <string>

#include "api/attach.h"
#include "api/failure.h"
#include "api/member_pointer.h"
#include "platform/value_tree/nx_db_node.h"

namespace nx::api {

/// Everything but the call itself.
class command_base : public nx_db_leaf_node {
 public:
  explicit command_base(const std::string& name);
  ~command_base() override;

  /// `args` is an object or array, or a string containing one as text. Throws
  /// json_value_conversion_error otherwise.
  void run(const std::string& path, const json_value& args, json_allocator& allocator,
           json_value& result) override;
  std::string get_info() const override;
  json_value get_info(json_allocator& allocator) const override;
  bool node_flag() const override;
  bool write_returns_response() const override;

 protected:
  virtual bool execute(const json_document& request) = 0;
};

template <auto Method>
class command : public command_base {
 public:
  using owner_type = typename member_traits<decltype(Method)>::owner_type;

  command(const std::string& name, const std::shared_ptr<owner_type>& owner)
      : command_base(name), owner_(owner) {}

  static std::shared_ptr<command> create(nx_db& db, const std::string& path,
                                         const std::shared_ptr<owner_type>& owner) {
    return create_node<command>(db, path, owner);
  }

 protected:
  bool execute(const json_document& request) override {
    const auto owner = owner_.lock();
    if (!owner) throw_owner_gone();
    return ((*owner).*Method)(request);
  }

 private:
  std::weak_ptr<owner_type> owner_;
};

}  // namespace nx::api
