// The last few products of one kind, each found again by all that it was made from.
#pragma once

#include <list>
#include <memory>
#include <mutex>
#include <utility>

namespace host::render {

/// Products with equal keys are the same. Any thread.
template <class Key, class Product>
class RecentProducts {
 public:
  using Pointer = std::shared_ptr<const Product>;

  explicit RecentProducts(std::size_t most) : most_(most) {}

  /// Null when it is not there.
  Pointer find(const Key& key) {
    const std::lock_guard lock(mutex_);
    for (auto it = list_.begin(); it != list_.end(); ++it)
      if (it->first == key) {
        list_.splice(list_.begin(), list_, it);
        return it->second;
      }
    return nullptr;
  }
  /// In place of the least recently used one.
  void put(Key key, Pointer product) {
    const std::lock_guard lock(mutex_);
    list_.emplace_front(std::move(key), std::move(product));
    if (list_.size() > most_) list_.pop_back();
  }
  template <class Test>
  void dropIf(Test&& test) {
    const std::lock_guard lock(mutex_);
    list_.remove_if([&](const auto& entry) { return test(entry.first); });
  }

 private:
  std::mutex mutex_;
  std::list<std::pair<Key, Pointer>> list_; // most recently used first
  const std::size_t most_;
};

} // namespace host::render
