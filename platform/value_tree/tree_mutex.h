// The lock of the tree's index: many readers, or one writer, who comes before readers that arrive
// later. Otherwise clients that constantly read patterns could keep a channel from being added for
// as long as they like.
#pragma once

#include <pthread.h>

namespace nx {

class tree_mutex {
 public:
  tree_mutex() {
    pthread_rwlockattr_t how;
    ::pthread_rwlockattr_init(&how);
    // No thread reads the index while it already reads it.
    ::pthread_rwlockattr_setkind_np(&how, PTHREAD_RWLOCK_PREFER_WRITER_NONRECURSIVE_NP);
    ::pthread_rwlock_init(&lock_, &how);
    ::pthread_rwlockattr_destroy(&how);
  }
  ~tree_mutex() { ::pthread_rwlock_destroy(&lock_); }
  tree_mutex(const tree_mutex&) = delete;
  tree_mutex& operator=(const tree_mutex&) = delete;

  void lock() { ::pthread_rwlock_wrlock(&lock_); }
  void unlock() { ::pthread_rwlock_unlock(&lock_); }
  void lock_shared() { ::pthread_rwlock_rdlock(&lock_); }
  void unlock_shared() { ::pthread_rwlock_unlock(&lock_); }

 private:
  pthread_rwlock_t lock_;
};

}  // namespace nx
