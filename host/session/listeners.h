// Lists of functions that are called on an event. Main thread.
#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace host {

/// An entry in a list of listeners: while it lives, its function is called. Movable; may be empty; may
/// outlive the list.
class Subscription {
 public:
  Subscription() = default;
  explicit Subscription(std::shared_ptr<bool> wanted) noexcept : wanted_(std::move(wanted)) {}
  ~Subscription() { cancel(); }
  Subscription(Subscription&& other) noexcept : wanted_(std::move(other.wanted_)) {}
  Subscription& operator=(Subscription&& other) noexcept {
    if (this != &other) {
      cancel();
      wanted_ = std::move(other.wanted_);
    }
    return *this;
  }
  Subscription(const Subscription&) = delete;
  Subscription& operator=(const Subscription&) = delete;

  void cancel() noexcept {
    if (wanted_) *wanted_ = false;
    wanted_.reset();
  }

 private:
  std::shared_ptr<bool> wanted_;
};

template <class... Args>
class Listeners {
 public:
  using Function = std::function<void(Args...)>;

  /// The function is called while the subscription lives.
  [[nodiscard]] Subscription add(Function function) {
    auto wanted = std::make_shared<bool>(true);
    list_.push_back({wanted, std::make_shared<Function>(std::move(function))});
    return Subscription(std::move(wanted));
  }

  /// Calls the present functions in order, except those that are cancelled during the calls.
  void call(Args... args) {
    std::erase_if(list_, [](const Entry& entry) { return !*entry.wanted; });
    const std::vector<Entry> present = list_;
    for (const Entry& entry : present)
      if (*entry.wanted) (*entry.function)(args...);
  }

 private:
  struct Entry {
    std::shared_ptr<bool> wanted;
    std::shared_ptr<Function> function;
  };
  std::vector<Entry> list_;
};

} // namespace host
