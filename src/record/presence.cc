// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/lifecycle.h"
#include "record/live_read.h"

namespace capi {
namespace {

void read_publishing(capi_presence& presence) {
  const bool is_attached = read_live(
      [&](const cfg_shared_record& record) {
        const News& news = news_of(record);
        presence.published_at = news.published_at.load(std::memory_order_relaxed);
        presence.published_generation = news.published.load(std::memory_order_relaxed);
      },
      &presence.generation);
  if (!is_attached) return;
  const auto attachment = static_cast<uint32_t>(presence.generation >> 32);
  presence.replaced = (attachment - kFirstAttachment) / 2;
  if (presence.published_at == 0) {
    presence.state = CAPI_PRESENCE_NOT_PUBLISHED;
    presence.published_generation = 0;
    return;
  }
  presence.state = CAPI_PRESENCE_PUBLISHED;
  presence.published_generation =
      generation_of(attachment, static_cast<uint32_t>(presence.published_generation));
}

}  // namespace
}  // namespace capi

int capi_get_presence(capi_presence* presence) {
  using namespace capi;
  cfg_backend_context* ctx = context();
  if (presence == nullptr || ctx == nullptr) return -1;
  follow_segment(*ctx);
  *presence = {};
  presence->state = CAPI_PRESENCE_NO_SEGMENT;
  read_publishing(*presence);
  if (!are_there_locks()) presence->state = CAPI_PRESENCE_NO_LOCKS;
  return 0;
}
