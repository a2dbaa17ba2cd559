// Values that are computed on demand: their owner is not asked in between.
#include "api/lazy_value.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "tree.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct owner_of_level {
  float get_level() {
    ++made;
    if (!level) throw nx_error(-61, "No light");
    return *level;
  }
  std::optional<float> level = 1.5f;
  unsigned made = 0;
};

TEST(lazy_value, is_made_for_who_reads_or_subscribes_and_for_nobody_else) {
  api_test::tree tree;
  auto owner = std::make_shared<owner_of_level>();
  const auto watcher = std::make_shared<api_test::session>();
  const auto value =
      nx::api::lazy_value<&owner_of_level::get_level>::create(tree.db, "level", owner);
  value->refresh();
  EXPECT_EQ(owner->made, 0u);
  EXPECT_EQ(tree.get("level"), "1.5");
  owner->level.reset();
  EXPECT_EQ(tree.get("level"), "! -61 No light");

  EXPECT_EQ(tree.subscribe("level", watcher), R"({"code":-61,"message":"No light"})");
  EXPECT_THAT(watcher->take(), ElementsAre("first level ! -61 No light"));
  value->refresh();
  EXPECT_THAT(watcher->take(), IsEmpty());
  owner->level = 2.0f;
  EXPECT_THAT(watcher->take(), IsEmpty());
  value->refresh();
  value->refresh();
  EXPECT_THAT(watcher->take(), ElementsAre("level = 2"));

  value->unsubscribe(watcher);
  value->refresh();
  const auto made = owner->made;
  value->refresh();
  EXPECT_EQ(owner->made, made);
  EXPECT_THAT(tree.history("level"), IsEmpty());
  owner.reset();
  EXPECT_EQ(tree.get("level"), "! -2 Object has been removed");
}

}  // namespace
