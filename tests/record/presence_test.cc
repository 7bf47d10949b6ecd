// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

#include <ctime>

#include "record/context.h"
#include "support/adapter.h"

namespace capi::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Presence : public Adapter {
 protected:
  capi_presence get() {
    capi_presence presence;
    EXPECT_EQ(capi_get_presence(&presence), 0);
    return presence;
  }
};

TEST_F(Presence, NeedsAStart) {
  capi_presence presence;
  EXPECT_EQ(capi_get_presence(&presence), -1);
  start_master();
  EXPECT_EQ(capi_get_presence(nullptr), -1);
}

TEST_F(Presence, WithoutAMasterThereAreNoLocks) {
  start_client();
  EXPECT_EQ(get().state, CAPI_PRESENCE_NO_LOCKS);
  unlink("/tmp/m_data");
  EXPECT_EQ(get().state, CAPI_PRESENCE_NO_LOCKS);
  EXPECT_THAT(captured_log(), IsEmpty());
}

TEST_F(Presence, WithoutItsToolThereIsNoSegment) {
  in_other_process([this] { start_master(); });
  EXPECT_EQ(unlink(kToolPath), 0);
  start_client();
  const capi_presence presence = get();
  EXPECT_EQ(presence.state, CAPI_PRESENCE_NO_SEGMENT);
  EXPECT_EQ(presence.generation, 0U);
}

TEST_F(Presence, BeforeThePublishingNothingIsPublished) {
  start_master();
  const capi_presence presence = get();
  EXPECT_EQ(presence.state, CAPI_PRESENCE_NOT_PUBLISHED);
  EXPECT_EQ(presence.published_at, 0);
  EXPECT_EQ(presence.published_generation, 0U);
  EXPECT_GT(presence.generation, 0U);
}

TEST_F(Presence, TellsWhenAndWhatWasPublished) {
  const time_t before = time(nullptr);
  in_other_process([this] {
    start_master();
    publish("");
  });
  start_client();
  const capi_presence published = get();
  EXPECT_EQ(published.state, CAPI_PRESENCE_PUBLISHED);
  EXPECT_GE(published.published_at, before);
  EXPECT_LE(published.published_at, time(nullptr));
  EXPECT_EQ(published.published_generation, published.generation);
  capi_config_set("voice_switch", "option_voice_switch_mode", 0, "3");
  EXPECT_EQ(get().generation, published.generation + 2);
  EXPECT_EQ(get().published_generation, published.published_generation);
}

TEST_F(Presence, AMastersStartBeginsAnew) {
  start_master();
  publish("");
  in_other_process([this] {
    capi_uninit();
    start_master();
  });
  EXPECT_EQ(get().state, CAPI_PRESENCE_NOT_PUBLISHED);
}

TEST_F(Presence, TellsHowOftenTheSegmentWasReplaced) {
  in_other_process([this] { start_master(); });
  start_client();
  EXPECT_EQ(get().replaced, 0U);
  EXPECT_EQ(shmctl(context()->shm_id, IPC_RMID, nullptr), 0);
  in_other_process([this] {
    capi_uninit();
    start_master();
    publish("");
  });
  EXPECT_EQ(get().replaced, 1U);
  EXPECT_EQ(get().state, CAPI_PRESENCE_PUBLISHED);
  EXPECT_THAT(captured_log(),
              ElementsAre(LogLine{kLogWarning, "__cfg_backend_init_shm",
                                  "another segment has taken the place of ours, using that"}));
}

TEST_F(Presence, DoesNotWaitForTheLock) {
  start_master();
  Baton held;
  Baton done;
  Process holder([&] {
    capi_critical_section_lock(CAPI_LOCK_CONF_SHM);
    held.pass();
    done.await();
    capi_critical_section_unlock(CAPI_LOCK_CONF_SHM);
  });
  held.await();
  EXPECT_EQ(get().state, CAPI_PRESENCE_NOT_PUBLISHED);
  done.pass();
  EXPECT_TRUE(holder.succeeded());
}

}  // namespace
}  // namespace capi::test
