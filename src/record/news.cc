// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record/news.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "foundation/log.h"

namespace capi {
namespace {

// In the order of enum capi_topic.
constexpr char kFiles[CAPI_TOPIC_COUNT][24] = {"/tmp/capi_news.config", "/tmp/capi_news.device",
                                               "/tmp/capi_news.lines", "/tmp/capi_news.calls",
                                               "/tmp/capi_news.messages"};

// Where the file is gone its watchers know that already.
void touch(const char* file) { utimensat(AT_FDCWD, file, nullptr, AT_SYMLINK_NOFOLLOW); }

}  // namespace

const char* news_file(int topic) { return kFiles[topic]; }

void announce(News& news, unsigned topics) {
  for (int i = 0; i < CAPI_TOPIC_COUNT; ++i) {
    if ((topics & 1U << i) != 0) ++news.topics[i].changes;
  }
  // Either a watcher's question is seen here, or the watcher sees the number: counting is a barrier
  // on all processors, also for what the writer does before and after it.
  for (int i = 0; i < CAPI_TOPIC_COUNT; ++i) {
    News::Topic& topic = news.topics[i];
    const uint32_t asked = topic.asked.load();
    if ((topics & 1U << i) == 0 || asked == topic.answered.load(std::memory_order_relaxed)) {
      continue;
    }
    const ErrnoKeeper keeper;
    touch(kFiles[i]);
    topic.answered.store(asked, std::memory_order_relaxed);
  }
}

void announce_segment() {
  for (const auto& file : kFiles) touch(file);
}

}  // namespace capi
