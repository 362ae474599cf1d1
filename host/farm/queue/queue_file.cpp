#include "queue_file.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <nlohmann/json.hpp>

namespace host::farm {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<const char*, 5> stateNames{"waiting", "rendering", "done", "failed", "cancelled"};
constexpr int mostNumber = 1'000'000'000;

std::string textAt(const Json& json, const char* name) {
  const auto found = json.find(name);
  return found != json.end() && found->is_string() ? found->get<std::string>() : std::string();
}

int numberAt(const Json& json, const char* name) {
  const auto found = json.find(name);
  if (found == json.end() || !found->is_number_integer()) return 0;
  return static_cast<int>(std::clamp<std::int64_t>(found->get<std::int64_t>(), -mostNumber, mostNumber));
}

double realAt(const Json& json, const char* name, double most) {
  const auto found = json.find(name);
  if (found == json.end() || !found->is_number()) return 0;
  const double value = found->get<double>();
  return std::isfinite(value) ? std::clamp(value, 0.0, most) : 0;
}

std::optional<QueueRow> rowOf(const Json& json) {
  if (!json.is_object()) return std::nullopt;
  const auto order = json.find("order");
  const auto known = order == json.end() ? std::nullopt : animationOrderOf(order->dump());
  const auto state = std::find(stateNames.begin(), stateNames.end(), textAt(json, "state"));
  QueueRow row;
  row.id = numberAt(json, "id");
  if (row.id < 1 || !known || state == stateNames.end()) return std::nullopt;
  row.order = *known;
  row.scene = textAt(json, "scene");
  row.problem = textAt(json, "problem");
  row.state = static_cast<QueueState>(state - stateNames.begin());
  if (row.state == QueueState::rendering) row.state = QueueState::waiting;
  if (!row.isOver()) return row;
  row.part = realAt(json, "part", 1);
  row.frames = std::max(0, numberAt(json, "frames"));
  row.kept = std::max(0, numberAt(json, "kept"));
  row.seconds = realAt(json, "seconds", 1e9);
  return row;
}

} // namespace

std::string queueText(const std::vector<QueueRow>& rows) {
  Json list = Json::array();
  for (const QueueRow& row : rows) {
    const QueueState state = row.state == QueueState::rendering ? QueueState::waiting : row.state;
    list.push_back({{"id", row.id},
                    {"scene", row.scene},
                    {"state", stateNames[static_cast<std::size_t>(state)]},
                    {"problem", row.problem},
                    {"part", row.part},
                    {"frames", row.frames},
                    {"kept", row.kept},
                    {"seconds", row.seconds},
                    {"order", Json::parse(textOf(row.order))}});
  }
  return list.dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::optional<std::vector<QueueRow>> queueRowsOf(std::string_view text, int& damaged) {
  damaged = 0;
  const Json list = Json::parse(text, nullptr, false);
  if (!list.is_array()) return std::nullopt;
  std::vector<QueueRow> rows;
  for (const Json& one : list) {
    std::optional<QueueRow> row = rowOf(one);
    const bool twice = row && std::any_of(rows.begin(), rows.end(),
                                          [&row](const QueueRow& other) { return other.id == row->id; });
    if (!row || twice || rows.size() >= RenderQueue::mostRows)
      ++damaged;
    else
      rows.push_back(std::move(*row));
  }
  return rows;
}

void takeProgressLine(std::string_view line, QueueRow& row) {
  const Json json = Json::parse(line, nullptr, false);
  if (!json.is_object()) return;
  const std::string event = textAt(json, "event");
  if (event == "begin") {
    row.frames = std::max(0, numberAt(json, "frames"));
    row.kept = std::max(0, numberAt(json, "kept"));
  } else if (event == "progress") {
    row.part = std::max(row.part, realAt(json, "part", 1));
    row.frame = numberAt(json, "frame");
  } else if (event == "end") {
    row.part = 1;
  }
}

} // namespace host::farm
