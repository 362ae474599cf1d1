#include "radiance_cache.h"

#include <cmath>

namespace host::render {
namespace {

constexpr float cellAngle = 0.014f; // upper bound of the smallest cubes, metres a metre from the camera
constexpr std::uint32_t enough = 8; // records, for a mean
constexpr float leastReach = 1;     // of a ray, in sides of the cube

std::uint64_t mixed(std::uint64_t x) {
  x ^= x >> 32;
  x *= 0xd6e8feb86659fd93ull;
  x ^= x >> 32;
  x *= 0xd6e8feb86659fd93ull;
  return x ^ (x >> 32);
}

// The side of a cube that a normal points to.
std::uint64_t sideOf(Vec3 n) {
  const Vec3 a = abs(n);
  if (a.x >= a.y && a.x >= a.z) return n.x < 0;
  return a.y >= a.z ? 2 + (n.y < 0) : 4 + (n.z < 0);
}

} // namespace

std::size_t RadianceCache::Table::placeOf(std::uint64_t key) const {
  std::size_t at = mixed(key) & (slots.size() - 1);
  while (slots[at].key && slots[at].key != key)
    at = (at + 1) & (slots.size() - 1);
  return at;
}

void RadianceCache::Table::grow() {
  std::vector<Slot> old(slots.empty() ? 1024 : slots.size() * 2);
  old.swap(slots);
  for (const Slot& slot : old)
    if (slot.key) slots[placeOf(slot.key)] = slot;
}

std::uint32_t RadianceCache::Table::cellOf(std::uint64_t key) {
  if (cells.size() * 2 >= slots.size()) grow();
  Slot& slot = slots[placeOf(key)];
  if (!slot.key) {
    slot = {key, static_cast<std::uint32_t>(cells.size())};
    cells.emplace_back();
  }
  return slot.cell;
}

// Of the side of the smallest cubes, as a power of two.
int RadianceCache::exponentAt(Vec3 position) const {
  const float side = std::max(nearest_, length(position - camera_)) * cellAngle;
  int exponent = 0;
  std::frexp(side, &exponent);
  return exponent - 1;
}

// Positions are at most 2 / cellAngle cubes away from the camera, so 16 bits an axis are plenty.
std::uint64_t RadianceCache::keyOf(Vec3 position, Vec3 normal, int exponent) const {
  const Vec3 p = (position - camera_) * std::ldexp(1.0f, -exponent);
  const auto part = [](float v) {
    return static_cast<std::uint64_t>(static_cast<std::int32_t>(std::floor(v)) + (1 << 15)) & 0xffff;
  };
  const std::uint64_t size = static_cast<std::uint64_t>(exponent + 512) & 0x3ff;
  return part(p.x) | part(p.y) << 16 | part(p.z) << 32 | sideOf(normal) << 48 | size << 51 | 1ull << 63;
}

void RadianceCache::fill(int size, const std::vector<RadianceRecords>& records) {
  Table& table = tables_[static_cast<std::size_t>(size)];
  table = {};
  for (const RadianceRecords& list : records)
    for (std::size_t i = 0; i < list.points.size(); ++i) {
      const RadianceRecord& record = list.points[i];
      const int exponent = exponentAt(record.position) + size;
      const std::size_t cell = table.cellOf(keyOf(record.position, record.normal, exponent));
      table.cells[cell].sum += record.light;
      ++table.cells[cell].count;
      if (groups_ == 0) continue;
      table.groups.resize(table.cells.size() * groups_);
      for (std::size_t g = 0; g < groups_; ++g)
        table.groups[cell * groups_ + g] += list.groups[i * groups_ + g];
    }
}

bool RadianceCache::find(Vec3 position, Vec3 normal, float reach, Mean& mean) const {
  const int exponent = exponentAt(position);
  for (int size = 0; size < sizes; ++size) {
    if (reach < leastReach * std::ldexp(1.0f, exponent + size)) return false;
    const Table& table = tables_[static_cast<std::size_t>(size)];
    if (table.slots.empty()) return false;
    const Table::Slot& slot = table.slots[table.placeOf(keyOf(position, normal, exponent + size))];
    if (!slot.key) continue;
    const Cell& cell = table.cells[slot.cell];
    if (cell.count < enough) continue;
    mean.count = static_cast<float>(cell.count);
    mean.light = cell.sum / mean.count;
    mean.groups = groups_ ? &table.groups[slot.cell * groups_] : nullptr;
    return true;
  }
  return false;
}

} // namespace host::render
