// Which of the others a channel on its way has felt, as told from the walks of a direction.
#include "base/insight/channel_board.h"

#include <gtest/gtest.h>

#include "base/insight/event_log.h"
#include "platform/value_tree/nx_db.h"
#include "tests/support/hand_clock.h"

namespace {

using namespace insight;
using enum channel_reason;

class channel_board_test : public testing::Test, protected test::on_hand_clock {
 protected:
  ~channel_board_test() override { event_log::instance().reset(); }

  channel_board::record_ptr enter(unsigned id) {
    auto record = std::make_shared<channel_record>();
    record->setup_api(tree, id, id, "rx");
    board.enter(record);
    return record;
  }
  void look(channel_record& at, channel_reason reason, float error, bool settled, float step = 0) {
    board.look(at, {.reason = reason,
                    .at = clock->steady_now(),
                    .lit = true,
                    .is_settled = settled,
                    .wish = 4,
                    .measured = 4 + error,
                    .error = error,
                    .dead_band = 0.5f,
                    .attenuation = 8,
                    .step = step});
  }
  void end_walk() {
    board.finish();
    clock->sleep(std::chrono::milliseconds(500));
  }
  static std::optional<neighbour> felt_by(const channel_record& one) {
    const auto way = one.snapshot().ways.last();
    return way ? way->felt_most : std::nullopt;
  }

  nx_db tree;
  channel_board board{"rx"};
  channel_board::record_ptr stepping = enter(19140000);
  channel_board::record_ptr resting = enter(19145000);
  channel_board::record_ptr unsettled = enter(19150000);
};

TEST_F(channel_board_test, a_channel_feels_who_moves_most_from_a_rest) {
  for (int walk = 0; walk < 20; ++walk) {
    const float noise = walk % 2 == 0 ? 0.01f : -0.01f;
    look(*stepping, on_target, noise, true);
    look(*resting, on_target, -noise, true);
    look(*unsettled, others_turn, walk == 0 ? 0 : 0.8f + noise, walk == 0);
    end_walk();
  }
  EXPECT_FALSE(felt_by(*stepping)) << "all are at rest";
  for (const float moved : {0.0f, 1.0f}) {
    look(*stepping, stepped, -6 + moved, false, -2);
    look(*resting, in_dead_band, moved, true);
    look(*unsettled, others_turn, 0.8f + 3 * moved, false);
    end_walk();
  }
  const auto felt = felt_by(*stepping);
  ASSERT_TRUE(felt) << "its neighbour has moved";
  EXPECT_EQ(felt->id, resting->id()) << "one that was not at rest has moved from nowhere";
  EXPECT_NEAR(felt->moved, 1, 0.1);
  EXPECT_FALSE(felt_by(*resting)) << "it has not set out";
}

}  // namespace
