// BaseContainer: every write makes new storage and exchanges the handle under a short spin lock. Readers copy
// the handle under the same lock and read the storage without it.
#include <algorithm>
#include <thread>

#include "container_store.h"

using host::ContainerEntry;
using host::ContainerStore;
using host::ContainerStorePtr;
using host::GeDataStore;

namespace {

class Guard {
 public:
  explicit Guard(std::atomic<ULONG>& word) noexcept : word_(word) {
    for (int tries = 0; word_.exchange(1, std::memory_order_acquire) != 0; ++tries)
      if (tries > 100) std::this_thread::yield();
  }
  ~Guard() { word_.store(0, std::memory_order_release); }
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;

 private:
  std::atomic<ULONG>& word_;
};

const GeData nothing;

// New storage with the same values, for a write. Keeps the instances.
std::shared_ptr<ContainerStore> forWriting(const ContainerStorePtr& store, std::size_t more = 0) {
  auto copy = std::make_shared<ContainerStore>();
  if (!store) return copy;
  copy->hasInstances = store->hasInstances;
  copy->entries.reserve(store->entries.size() + more);
  for (const ContainerEntry& entry : store->entries)
    copy->entries.push_back({entry.id, host::shared(entry.data)});
  return copy;
}

// Storage for a copy of the container: shared, unless it has instances, which the copy gets copies of.
ContainerStorePtr forCopy(const ContainerStorePtr& store) {
  if (!store || !store->hasInstances) return store;
  auto copy = std::make_shared<ContainerStore>();
  copy->entries = store->entries;
  return copy;
}

void put(ContainerStore& store, LONG id, const GeData& value) {
  const int index = store.find(id);
  if (index >= 0)
    store.entries[static_cast<std::size_t>(index)].data = value;
  else
    store.entries.push_back({id, value});
}

const GeData* findIn(const ContainerStorePtr& store, LONG id) noexcept {
  const int index = store ? store->find(id) : -1;
  return index < 0 ? nullptr : &store->entries[static_cast<std::size_t>(index)].data;
}

bool isNumber(LONG type) noexcept {
  return type == DA_LONG || type == DA_LLONG || type == DA_REAL || type == DA_BOOL;
}

template <class T>
T number(const ContainerStorePtr& store, LONG id, T preset, T (GeData::*get)() const) {
  const GeData* data = findIn(store, id);
  return data && isNumber(data->GetType()) ? (data->*get)() : preset;
}

template <class T>
T typed(const ContainerStorePtr& store, LONG id, LONG type, const T& preset) {
  const GeData* data = findIn(store, id);
  if (!data || data->GetType() != type) return preset;
  return std::get<T>(host::Access::store(*data)->value);
}

} // namespace

ContainerStorePtr BaseContainer::Pin() const noexcept {
  const Guard guard(guard_);
  return store_;
}

void BaseContainer::Replace(ContainerStorePtr store) noexcept {
  const Guard guard(guard_);
  store_.swap(store); // the old one is freed after the guard, or by its last reader
}

BaseContainer::BaseContainer() = default;
BaseContainer::BaseContainer(LONG id) : id_(id) {
}
BaseContainer::BaseContainer(const BaseContainer& other) : id_(other.GetId()), store_(forCopy(other.Pin())) {
}
BaseContainer::BaseContainer(BaseContainer&& other) noexcept
    : id_(other.GetId()), store_(std::move(other.store_)) {
}
BaseContainer& BaseContainer::operator=(const BaseContainer& other) {
  if (this == &other) return *this;
  SetId(other.GetId());
  Replace(forCopy(other.Pin()));
  return *this;
}
BaseContainer& BaseContainer::operator=(BaseContainer&& other) noexcept {
  if (this == &other) return *this;
  SetId(other.GetId());
  ContainerStorePtr taken = other.Pin();
  other.Replace(nullptr);
  Replace(std::move(taken));
  return *this;
}
BaseContainer::~BaseContainer() = default;

LONG BaseContainer::GetCount() const noexcept {
  const ContainerStorePtr store = Pin();
  return store ? static_cast<LONG>(store->entries.size()) : 0;
}

LONG BaseContainer::GetIndexId(LONG index) const noexcept {
  const ContainerStorePtr store = Pin();
  if (!store || index < 0 || static_cast<std::size_t>(index) >= store->entries.size()) return NOTOK;
  return store->entries[static_cast<std::size_t>(index)].id;
}

const GeData* BaseContainer::GetIndexData(LONG index) const noexcept {
  if (!store_ || index < 0 || static_cast<std::size_t>(index) >= store_->entries.size()) return nullptr;
  return &store_->entries[static_cast<std::size_t>(index)].data;
}

LONG BaseContainer::FindIndex(LONG id) const noexcept {
  const ContainerStorePtr store = Pin();
  return store ? store->find(id) : NOTOK;
}

LONG BaseContainer::GetType(LONG id) const noexcept {
  const ContainerStorePtr store = Pin();
  const GeData* data = findIn(store, id);
  return data ? data->GetType() : DA_NIL;
}

Bool BaseContainer::RemoveData(LONG id) {
  return store_ ? RemoveIndex(store_->find(id)) : FALSE;
}

Bool BaseContainer::RemoveIndex(LONG index) {
  if (!GetIndexData(index)) return FALSE;
  auto store = forWriting(store_);
  store->entries.erase(store->entries.begin() + index);
  Replace(std::move(store));
  return TRUE;
}

void BaseContainer::FlushAll() {
  Replace(nullptr);
}

void BaseContainer::MergeContainer(const BaseContainer& source) {
  const ContainerStorePtr from = source.Pin();
  if (!from || from->entries.empty()) return;
  auto store = forWriting(store_, from->entries.size());
  for (const ContainerEntry& entry : from->entries)
    put(*store, entry.id, entry.data);
  Replace(std::move(store));
}

const GeData& BaseContainer::GetData(LONG id) const noexcept {
  const GeData* data = findIn(store_, id);
  return data ? *data : nothing;
}

const GeData* BaseContainer::GetDataPointer(LONG id) const noexcept {
  return findIn(store_, id);
}

void BaseContainer::SetData(LONG id, const GeData& value) {
  auto store = forWriting(store_, 1);
  put(*store, id, value);
  Replace(std::move(store));
}

Bool BaseContainer::GetBool(LONG id, Bool preset) const {
  return number<Bool>(Pin(), id, preset, &GeData::GetBool);
}
LONG BaseContainer::GetLong(LONG id, LONG preset) const {
  return number<LONG>(Pin(), id, preset, &GeData::GetLong);
}
LLONG BaseContainer::GetLLong(LONG id, LLONG preset) const {
  return number<LLONG>(Pin(), id, preset, &GeData::GetLLong);
}
Real BaseContainer::GetReal(LONG id, Real preset) const {
  return number<Real>(Pin(), id, preset, &GeData::GetReal);
}
Vector BaseContainer::GetVector(LONG id, const Vector& preset) const {
  return typed(Pin(), id, DA_VECTOR, preset);
}
Matrix BaseContainer::GetMatrix(LONG id, const Matrix& preset) const {
  return typed(Pin(), id, DA_MATRIX, preset);
}
String BaseContainer::GetString(LONG id, const String& preset) const {
  return typed(Pin(), id, DA_STRING, preset);
}
Filename BaseContainer::GetFilename(LONG id, const Filename& preset) const {
  return typed(Pin(), id, DA_FILENAME, preset);
}
BaseTime BaseContainer::GetTime(LONG id, const BaseTime& preset) const {
  return typed(Pin(), id, DA_TIME, preset);
}
BaseContainer BaseContainer::GetContainer(LONG id) const {
  return typed(Pin(), id, DA_CONTAINER, BaseContainer());
}
BaseLink BaseContainer::GetBaseLink(LONG id) const {
  return typed(Pin(), id, DA_ALIASLINK, BaseLink());
}
BaseList2D* BaseContainer::GetLink(LONG id, const BaseDocument* document) const {
  return GetBaseLink(id).GetLink(document);
}
const void* BaseContainer::GetMemory(LONG id, std::size_t* count) const {
  return GetData(id).GetMemory(count);
}

void BaseContainer::SetBool(LONG id, Bool value) {
  SetData(id, GeData::FromBool(value));
}
void BaseContainer::SetLong(LONG id, LONG value) {
  SetData(id, GeData(value));
}
void BaseContainer::SetLLong(LONG id, LLONG value) {
  SetData(id, GeData::FromLLong(value));
}
void BaseContainer::SetReal(LONG id, Real value) {
  SetData(id, GeData(value));
}
void BaseContainer::SetVector(LONG id, const Vector& value) {
  SetData(id, GeData(value));
}
void BaseContainer::SetMatrix(LONG id, const Matrix& value) {
  SetData(id, GeData(value));
}
void BaseContainer::SetString(LONG id, const String& value) {
  SetData(id, GeData(value));
}
void BaseContainer::SetFilename(LONG id, const Filename& value) {
  SetData(id, GeData(value));
}
void BaseContainer::SetTime(LONG id, const BaseTime& value) {
  SetData(id, GeData(value));
}
void BaseContainer::SetContainer(LONG id, const BaseContainer& value) {
  SetData(id, GeData(value));
}
void BaseContainer::SetLink(LONG id, const BaseList2D* target) {
  SetData(id, GeData(BaseLink(target)));
}
void BaseContainer::SetBaseLink(LONG id, const BaseLink& link) {
  SetData(id, GeData(link));
}
void BaseContainer::SetMemory(LONG id, const void* bytes, std::size_t count) {
  SetData(id, GeData(bytes, count));
}

BaseContainer* BaseContainer::GetContainerInstance(LONG id) {
  const int index = store_ ? store_->find(id) : -1;
  if (index < 0) return nullptr;
  const host::GeDataStorePtr& data =
      host::Access::store(store_->entries[static_cast<std::size_t>(index)].data);
  if (!data || data->type != DA_CONTAINER) return nullptr;
  if (!data->instance) {
    // A container that no copy shares, to be written in place.
    auto own = std::make_shared<GeDataStore>(*data);
    own->instance = true;
    auto store = forWriting(store_);
    host::Access::store(store->entries[static_cast<std::size_t>(index)].data) = own;
    store->hasInstances = true;
    Replace(std::move(store));
  }
  const auto& now = host::Access::store(store_->entries[static_cast<std::size_t>(index)].data);
  return const_cast<BaseContainer*>(&std::get<BaseContainer>(now->value));
}

const BaseContainer* BaseContainer::GetContainerInstance(LONG id) const {
  const GeData* data = findIn(store_, id);
  if (!data || data->GetType() != DA_CONTAINER) return nullptr;
  return &std::get<BaseContainer>(host::Access::store(*data)->value);
}

bool operator==(const BaseContainer& a, const BaseContainer& b) {
  const ContainerStorePtr one = a.Pin(), other = b.Pin();
  if (one == other) return true;
  const std::size_t count = one ? one->entries.size() : 0;
  if (count != (other ? other->entries.size() : 0)) return false;
  for (std::size_t i = 0; i < count; ++i)
    if (one->entries[i].id != other->entries[i].id || !(one->entries[i].data == other->entries[i].data))
      return false;
  return true;
}
