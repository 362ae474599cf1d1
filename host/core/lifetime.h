// References to an object that may be destroyed before they are used: by a task that waits in the main loop,
// or while a plug-in is called. The object and `get` belong to one thread; a reference is copied and
// destroyed on any thread.
#pragma once

#include <memory>
#include <utility>

namespace host {

template <class T>
class Lifetime;

template <class T>
class WeakRef {
 public:
  WeakRef() = default;
  /// Null once the object has been destroyed.
  T* get() const noexcept {
    const std::shared_ptr<T*> object = object_.lock();
    return object ? *object : nullptr;
  }
  explicit operator bool() const noexcept { return get() != nullptr; }
  T* operator->() const noexcept { return get(); }

 private:
  friend class Lifetime<T>;
  explicit WeakRef(std::weak_ptr<T*> object) noexcept : object_(std::move(object)) {}
  std::weak_ptr<T*> object_;
};

/// A member of the object, which must stay at its address. Its references become null with it.
template <class T>
class Lifetime {
 public:
  explicit Lifetime(T& object) : object_(std::make_shared<T*>(&object)) {}
  Lifetime(const Lifetime&) = delete;
  Lifetime& operator=(const Lifetime&) = delete;

  WeakRef<T> ref() const noexcept { return WeakRef<T>(object_); }
  /// Makes the references null at once: for a destructor that runs the main loop.
  void end() noexcept { object_.reset(); }

 private:
  std::shared_ptr<T*> object_;
};

} // namespace host
