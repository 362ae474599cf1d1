// BaseTime, BaseLink and GeData.
#include <algorithm>
#include <cmath>
#include <limits>

#include "container_store.h"
#include "links.h"

using host::GeDataStore;

LONG BaseTime::GetFrame(Real fps) const noexcept {
  // The time of a frame may be a rounding error short of it: 7 / 30 * 30 is less than 7.
  const Real exact = numerator_ * fps / (denominator_ == 0 ? 1 : denominator_);
  if (denominator_ == 0 || !std::isfinite(exact)) return 0;
  const Real nearest = std::round(exact);
  const bool onFrame = std::abs(exact - nearest) <= std::max<Real>(1, std::abs(nearest)) * 1e-12;
  const Real frame = onFrame ? nearest : std::floor(exact);
  return static_cast<LONG>(
      std::clamp<Real>(frame, std::numeric_limits<LONG>::min(), std::numeric_limits<LONG>::max()));
}

namespace host {

namespace {
LinkHooks hooks;
}

void installLinkHooks(const LinkHooks& installed) noexcept {
  hooks = installed;
}

} // namespace host

BaseLink::BaseLink(const BaseList2D* target) {
  SetLink(target);
}

void BaseLink::SetLink(const BaseList2D* target) {
  identity_ = target && host::hooks.identityOf ? host::hooks.identityOf(target) : 0;
}

BaseList2D* BaseLink::GetLink(const BaseDocument* document) const {
  return identity_ != 0 && host::hooks.resolve ? host::hooks.resolve(identity_, document) : nullptr;
}

namespace {

template <class T>
host::GeDataStorePtr makeStore(LONG type, T value) {
  auto store = std::make_shared<GeDataStore>();
  store->type = type;
  store->value.emplace<T>(std::move(value));
  return store;
}

// Clamps to the range of the type; not a number becomes 0.
template <class Int>
Int toInteger(Real value) {
  if (std::isnan(value)) return 0;
  if (value >= static_cast<Real>(std::numeric_limits<Int>::max())) return std::numeric_limits<Int>::max();
  if (value <= static_cast<Real>(std::numeric_limits<Int>::min())) return std::numeric_limits<Int>::min();
  return static_cast<Int>(value);
}

bool sameReal(Real a, Real b) {
  return a == b || (std::isnan(a) && std::isnan(b));
}

// The value when the type is `type`, else the preset.
template <class T>
T get(const host::GeDataStorePtr& store, LONG type, T preset = T()) {
  return store && store->type == type ? std::get<T>(store->value) : preset;
}

} // namespace

GeData::GeData() = default;
GeData::GeData(LONG value) : store_(makeStore(DA_LONG, value)) {
}
GeData::GeData(Real value) : store_(makeStore(DA_REAL, value)) {
}
GeData::GeData(const Vector& value) : store_(makeStore(DA_VECTOR, value)) {
}
GeData::GeData(const Matrix& value) : store_(makeStore(DA_MATRIX, value)) {
}
GeData::GeData(const String& value) : store_(makeStore(DA_STRING, value)) {
}
GeData::GeData(const char* value) : GeData(String(value)) {
}
GeData::GeData(const Filename& value) : store_(makeStore(DA_FILENAME, value)) {
}
GeData::GeData(const BaseTime& value) : store_(makeStore(DA_TIME, value)) {
}
GeData::GeData(const BaseContainer& value) : store_(makeStore(DA_CONTAINER, value)) {
}
GeData::GeData(const BaseLink& value) : store_(makeStore(DA_ALIASLINK, value)) {
}
GeData::GeData(const void* bytes, std::size_t count) {
  const auto* first = static_cast<const std::byte*>(bytes);
  if (!first) count = 0;
  store_ = makeStore(DA_BYTEARRAY, std::vector<std::byte>(first, first + count));
}

GeData GeData::FromBool(Bool value) {
  GeData data;
  data.store_ = makeStore<LONG>(DA_BOOL, value ? TRUE : FALSE);
  return data;
}

GeData GeData::FromLLong(LLONG value) {
  GeData data;
  data.store_ = makeStore(DA_LLONG, value);
  return data;
}

GeData::GeData(const GeData& other) : store_(other.store_) {
  if (store_ && store_->instance) store_ = makeStore(DA_CONTAINER, std::get<BaseContainer>(store_->value));
}
GeData::GeData(GeData&&) noexcept = default;
GeData& GeData::operator=(const GeData& other) {
  GeData copy(other);
  store_ = std::move(copy.store_);
  return *this;
}
GeData& GeData::operator=(GeData&&) noexcept = default;
GeData::~GeData() = default;

LONG GeData::GetType() const noexcept {
  return store_ ? store_->type : DA_NIL;
}

LONG GeData::GetLong() const {
  switch (GetType()) {
  case DA_LONG:
  case DA_BOOL:
    return std::get<LONG>(store_->value);
  case DA_LLONG:
    return static_cast<LONG>(std::clamp<LLONG>(
        std::get<LLONG>(store_->value), std::numeric_limits<LONG>::min(), std::numeric_limits<LONG>::max()));
  case DA_REAL:
    return toInteger<LONG>(std::get<Real>(store_->value));
  default:
    return 0;
  }
}

LLONG GeData::GetLLong() const {
  switch (GetType()) {
  case DA_LONG:
  case DA_BOOL:
    return std::get<LONG>(store_->value);
  case DA_LLONG:
    return std::get<LLONG>(store_->value);
  case DA_REAL:
    return toInteger<LLONG>(std::get<Real>(store_->value));
  default:
    return 0;
  }
}

Real GeData::GetReal() const {
  if (GetType() == DA_REAL) return std::get<Real>(store_->value);
  return static_cast<Real>(GetLLong());
}

Bool GeData::GetBool() const {
  return GetReal() != 0 ? TRUE : FALSE;
}

Vector GeData::GetVector() const {
  return get<Vector>(store_, DA_VECTOR);
}
Matrix GeData::GetMatrix() const {
  return get<Matrix>(store_, DA_MATRIX);
}
String GeData::GetString() const {
  return get<String>(store_, DA_STRING);
}
Filename GeData::GetFilename() const {
  return get<Filename>(store_, DA_FILENAME);
}
BaseTime GeData::GetTime() const {
  return get<BaseTime>(store_, DA_TIME);
}
BaseContainer GeData::GetContainer() const {
  return get<BaseContainer>(store_, DA_CONTAINER);
}
BaseLink GeData::GetBaseLink() const {
  return get<BaseLink>(store_, DA_ALIASLINK);
}
BaseList2D* GeData::GetLink(const BaseDocument* document) const {
  return GetBaseLink().GetLink(document);
}

const void* GeData::GetMemory(std::size_t* count) const {
  if (count) *count = 0;
  if (GetType() != DA_BYTEARRAY) return nullptr;
  static constexpr char nothing = 0;
  const auto& bytes = std::get<std::vector<std::byte>>(store_->value);
  if (count) *count = bytes.size();
  return bytes.empty() ? static_cast<const void*>(&nothing) : bytes.data();
}

bool operator==(const GeData& a, const GeData& b) {
  if (a.store_ == b.store_) return true;
  if (a.GetType() != b.GetType()) return false;
  switch (a.GetType()) {
  case DA_NIL:
    return true;
  case DA_REAL:
    return sameReal(a.GetReal(), b.GetReal());
  case DA_TIME: // the pairs, so that what is kept is exact
    return sameReal(a.GetTime().GetNumerator(), b.GetTime().GetNumerator()) &&
           sameReal(a.GetTime().GetDenominator(), b.GetTime().GetDenominator());
  default:
    return a.store_->value == b.store_->value;
  }
}
