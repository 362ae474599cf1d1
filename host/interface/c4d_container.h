// Values and containers. Any thread; one object is used by one thread at a time, but for containers: one
// thread may write a container while others copy it or read it through the typed getters, and they see it
// before or after the write. References and pointers into a container are for the writing thread only.
// Copies are cheap: the entries are immutable storage behind a handle, which a write replaces whole.
#pragma once

#include <atomic>
#include <memory>

#include "c4d_filename.h"
#include "c4d_math.h"
#include "c4d_string.h"
#include "c4d_types.h"

class BaseDocument;
class BaseList2D;

// Types of values.
inline constexpr LONG DA_NIL = 0; // no value
inline constexpr LONG DA_LONG = 15;
inline constexpr LONG DA_REAL = 19;
inline constexpr LONG DA_TIME = 22;
inline constexpr LONG DA_VECTOR = 23;
inline constexpr LONG DA_MATRIX = 25;
inline constexpr LONG DA_LLONG = 26;
inline constexpr LONG DA_BYTEARRAY = 128;
inline constexpr LONG DA_STRING = 130;
inline constexpr LONG DA_FILENAME = 131;
inline constexpr LONG DA_CONTAINER = 132;
inline constexpr LONG DA_ALIASLINK = 133;
inline constexpr LONG DA_BOOL = 400006001;
/// The index of an entry that is absent.
inline constexpr LONG NOTOK = -1;

/// A time in seconds, as a fraction of reals.
class BaseTime {
 public:
  constexpr BaseTime() noexcept = default;
  explicit constexpr BaseTime(Real seconds) noexcept : numerator_(seconds) {}
  constexpr BaseTime(Real numerator, Real denominator) noexcept
      : numerator_(numerator), denominator_(denominator) {}

  constexpr Real GetNumerator() const noexcept { return numerator_; }
  constexpr Real GetDenominator() const noexcept { return denominator_; }
  /// Seconds; 0 when the denominator is 0.
  constexpr Real Get() const noexcept { return denominator_ == 0 ? 0 : numerator_ / denominator_; }
  /// The frame that holds this time at `fps` frames a second: floor(time * fps), where a time that misses a
  /// frame by a rounding error counts as that frame.
  C4D_API LONG GetFrame(Real fps) const noexcept;

  /// Seconds are compared, not the pairs.
  friend constexpr bool operator==(const BaseTime& a, const BaseTime& b) noexcept {
    return a.Get() == b.Get();
  }
  friend constexpr bool operator!=(const BaseTime& a, const BaseTime& b) noexcept {
    return a.Get() != b.Get();
  }
  friend constexpr bool operator<(const BaseTime& a, const BaseTime& b) noexcept { return a.Get() < b.Get(); }

 private:
  Real numerator_ = 0;
  Real denominator_ = 1;
};

/// A link to a node by its identity; it survives clones and resolves within a document.
class C4D_API BaseLink {
 public:
  constexpr BaseLink() noexcept = default;
  explicit BaseLink(const BaseList2D* target);

  /// The node with this identity in `document` (null: in the active one); null when it is not there.
  BaseList2D* GetLink(const BaseDocument* document) const;
  void SetLink(const BaseList2D* target);
  /// 0: links to nothing. (ours)
  constexpr ULLONG GetIdentity() const noexcept { return identity_; }
  static constexpr BaseLink FromIdentity(ULLONG identity) noexcept {
    BaseLink link;
    link.identity_ = identity;
    return link;
  }
  friend constexpr bool operator==(const BaseLink& a, const BaseLink& b) noexcept {
    return a.identity_ == b.identity_;
  }

 private:
  ULLONG identity_ = 0;
};

class BaseContainer;

/// A value of one of the types DA_.... Reading converts between number types (LONG, LLONG, REAL, BOOL); any
/// other mismatch gives the empty value of the type that was asked for.
class C4D_API GeData {
 public:
  GeData();
  GeData(LONG value);
  GeData(Real value);
  GeData(const Vector& value);
  GeData(const Matrix& value);
  GeData(const String& value);
  GeData(const char* value);
  GeData(const Filename& value);
  GeData(const BaseTime& value);
  GeData(const BaseContainer& value);
  GeData(const BaseLink& value);
  GeData(const void* bytes, std::size_t count);
  static GeData FromBool(Bool value);   // type DA_BOOL
  static GeData FromLLong(LLONG value); // type DA_LLONG
  GeData(const GeData&);
  GeData(GeData&&) noexcept;
  GeData& operator=(const GeData&);
  GeData& operator=(GeData&&) noexcept;
  ~GeData();

  LONG GetType() const noexcept;
  LONG GetLong() const;
  LLONG GetLLong() const;
  Real GetReal() const;
  Bool GetBool() const;
  Vector GetVector() const;
  Matrix GetMatrix() const;
  String GetString() const;
  Filename GetFilename() const;
  BaseTime GetTime() const;
  BaseContainer GetContainer() const;
  BaseLink GetBaseLink() const;
  BaseList2D* GetLink(const BaseDocument* document) const;
  /// Null when the type is not DA_BYTEARRAY; valid until this value changes.
  const void* GetMemory(std::size_t* count) const;

  /// Same type and same value.
  friend C4D_API bool operator==(const GeData& a, const GeData& b);
  friend bool operator!=(const GeData& a, const GeData& b) { return !(a == b); }

 private:
  friend struct host::Access;
  std::shared_ptr<const host::GeDataStore> store_;
};

/// Values under integer IDs, in the order in which they were first set. A setter replaces in place.
class C4D_API BaseContainer {
 public:
  BaseContainer();
  explicit BaseContainer(LONG id);
  BaseContainer(const BaseContainer&);
  BaseContainer(BaseContainer&&) noexcept;
  BaseContainer& operator=(const BaseContainer&);
  BaseContainer& operator=(BaseContainer&&) noexcept;
  ~BaseContainer();

  LONG GetId() const noexcept { return id_.load(std::memory_order_relaxed); }
  void SetId(LONG id) noexcept { id_.store(id, std::memory_order_relaxed); }

  LONG GetCount() const noexcept;
  /// The ID of the entry at `index`; -1 past the end.
  LONG GetIndexId(LONG index) const noexcept;
  /// The value at `index`; null past the end. Valid until the container changes.
  const GeData* GetIndexData(LONG index) const noexcept;
  /// The position of `id`; -1 when absent.
  LONG FindIndex(LONG id) const noexcept;
  /// DA_NIL when absent.
  LONG GetType(LONG id) const noexcept;
  Bool RemoveData(LONG id);
  Bool RemoveIndex(LONG index);
  void FlushAll();
  /// Adds every entry of `source`, or replaces the one under its ID.
  void MergeContainer(const BaseContainer& source);

  const GeData& GetData(LONG id) const noexcept; // a DA_NIL value when absent
  const GeData* GetDataPointer(LONG id) const noexcept;
  void SetData(LONG id, const GeData& value);

  /// The value, or the preset when the ID is absent. Number types convert; any other mismatch gives the
  /// preset.
  Bool GetBool(LONG id, Bool preset = FALSE) const;
  LONG GetLong(LONG id, LONG preset = 0) const;
  LLONG GetLLong(LONG id, LLONG preset = 0) const;
  Real GetReal(LONG id, Real preset = 0) const;
  Vector GetVector(LONG id, const Vector& preset = Vector()) const;
  Matrix GetMatrix(LONG id, const Matrix& preset = Matrix()) const;
  String GetString(LONG id, const String& preset = String()) const;
  Filename GetFilename(LONG id, const Filename& preset = Filename()) const;
  BaseTime GetTime(LONG id, const BaseTime& preset = BaseTime()) const;
  BaseContainer GetContainer(LONG id) const; // empty when absent
  BaseLink GetBaseLink(LONG id) const;
  BaseList2D* GetLink(LONG id, const BaseDocument* document) const;
  const void* GetMemory(LONG id, std::size_t* count) const;

  void SetBool(LONG id, Bool value);
  void SetLong(LONG id, LONG value);
  void SetLLong(LONG id, LLONG value);
  void SetReal(LONG id, Real value);
  void SetVector(LONG id, const Vector& value);
  void SetMatrix(LONG id, const Matrix& value);
  void SetString(LONG id, const String& value);
  void SetFilename(LONG id, const Filename& value);
  void SetTime(LONG id, const BaseTime& value);
  void SetContainer(LONG id, const BaseContainer& value);
  void SetLink(LONG id, const BaseList2D* target);
  void SetBaseLink(LONG id, const BaseLink& link);
  void SetMemory(LONG id, const void* bytes, std::size_t count);

  /// The nested container under `id`, to write in place; null when the entry is absent or of another type.
  /// Valid until the entry is replaced or removed. Copies of this container do not change with it.
  BaseContainer* GetContainerInstance(LONG id);
  const BaseContainer* GetContainerInstance(LONG id) const;

  /// Same IDs, in the same order, with equal values.
  friend C4D_API bool operator==(const BaseContainer& a, const BaseContainer& b);
  friend bool operator!=(const BaseContainer& a, const BaseContainer& b) { return !(a == b); }

 private:
  friend struct host::Access;
  std::shared_ptr<const host::ContainerStore> Pin() const noexcept;
  void Replace(std::shared_ptr<const host::ContainerStore> store) noexcept;

  std::atomic<LONG> id_{0};
  mutable std::atomic<ULONG> guard_{0}; // held only while the handle is copied or exchanged
  std::shared_ptr<const host::ContainerStore> store_;
};
