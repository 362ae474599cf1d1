#include "light_table_model.h"

#include <algorithm>

#include "icons.h"
#include "object_model.h"
#include "qt_text.h"
#include "scene_edits.h"
#include "screen_color.h"
#include "theme.h"

namespace host {

namespace {

struct Heading {
  QString name, tip;
};

Heading headingOf(LightColumn column) {
  const auto say = [](const char* text) { return QCoreApplication::translate("host::LightTable", text); };
  switch (column) {
  case LightColumn::name:
    return {say("Light"), say("The name of the light")};
  case LightColumn::kind:
    return {say("Kind"), say("Point, spot, distant, rectangle or disk")};
  case LightColumn::intensity:
    return {say("Intensity"), say("In candela; of distant lights in lux")};
  case LightColumn::color:
    return {say("Color"), say("The light's own colour, which the temperature is multiplied by")};
  case LightColumn::temperature:
    return {say("Temperature"), say("In kelvin. 0: the colour alone")};
  case LightColumn::size:
    return {say("Size"),
            say("Radius of a point or a spot, angle of a distant light, width of a rectangle, diameter "
                "of a disk. Larger: softer shadows")};
  case LightColumn::height:
    return {say("Height"), say("Of rectangles")};
  case LightColumn::reach:
    return {say("Reach"), say("The light ends at this distance. 0: without end")};
  case LightColumn::shadow:
    return {say("Shadow"), say("None, hard, or soft by the light's size")};
  case LightColumn::group:
    return {say("Group"), say("The light group, which has a layer and a fader of its own")};
  case LightColumn::mute:
    return {say("Mute"), say("Leaves this light out of renders")};
  case LightColumn::solo:
    return {say("Solo"), say("Renders with this light and others on solo alone")};
  }
  return {};
}

double brightest(const Vector& color) {
  return std::max({color.x, color.y, color.z, 1.0});
}

// Not tinted in selected rows.
QIcon swatchOf(const QColor& color) {
  QPixmap pixels(metrics::icon, metrics::icon);
  pixels.fill(color);
  QIcon swatch(pixels);
  swatch.addPixmap(pixels, QIcon::Selected);
  return swatch;
}

bool sameCells(const LightRow& a, const LightRow& b) {
  if (a.silent != b.silent || a.selected != b.selected) return false;
  for (std::size_t i = 0; i < lightColumns; ++i)
    if (a.cells[i].id != b.cells[i].id || a.cells[i].value != b.cells[i].value) return false;
  return true;
}

} // namespace

LightTableModel::LightTableModel(Session& session, QObject* parent)
    : QAbstractTableModel(parent), session_(session) {
  refresh();
}

void LightTableModel::refresh() {
  const BaseDocument* document = session_.document();
  std::vector<LightRow> now = document ? lightRows(*document) : std::vector<LightRow>();
  const bool sameLights =
      std::equal(now.begin(), now.end(), rows_.begin(), rows_.end(),
                 [](const LightRow& a, const LightRow& b) { return a.identity == b.identity; });
  if (!sameLights) {
    beginResetModel();
    rows_ = std::move(now);
    return endResetModel();
  }
  for (std::size_t i = 0; i < now.size(); ++i) {
    if (sameCells(now[i], rows_[i])) continue;
    rows_[i] = std::move(now[i]);
    const int row = static_cast<int>(i);
    emit dataChanged(index(row, 0), index(row, static_cast<int>(lightColumns) - 1));
  }
}

const Attribute* LightTableModel::attributeAt(const QModelIndex& index) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid)) return nullptr;
  const Attribute& cell =
      rows_[static_cast<std::size_t>(index.row())].cells[static_cast<std::size_t>(index.column())];
  return cell.id == AttributeId::none ? nullptr : &cell;
}

std::vector<Identity> LightTableModel::edited(const QModelIndex& index) const {
  const LightRow& row = rows_[static_cast<std::size_t>(index.row())];
  if (!row.selected || index.column() == static_cast<int>(LightColumn::name)) return {row.identity};
  std::vector<Identity> lights;
  for (const LightRow& other : rows_)
    if (other.selected) lights.push_back(other.identity);
  return lights;
}

void LightTableModel::edit(const QModelIndex& index, const GeData& value) {
  const Attribute* attribute = attributeAt(index);
  if (!attribute) return;
  const AttributeId id = attribute->id;
  session_.edits().apply(String("Set ") + attribute->label,
                         [id, value, lights = edited(index)](BaseDocument& document) {
                           setAttribute(document, lights, id, value);
                         });
}

int LightTableModel::rowOf(Identity light) const {
  const auto found = std::find_if(rows_.begin(), rows_.end(),
                                  [light](const LightRow& row) { return row.identity == light; });
  return found == rows_.end() ? -1 : static_cast<int>(found - rows_.begin());
}

int LightTableModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int LightTableModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(lightColumns);
}

QVariant LightTableModel::textOf(const Attribute& attribute) const {
  switch (attribute.kind) {
  case AttributeKind::text:
    return toQt(attribute.value.GetString());
  case AttributeKind::choice: {
    const auto chosen = static_cast<std::size_t>(std::max<LONG>(0, attribute.value.GetLong()));
    return chosen < attribute.choices.size() ? QString::fromStdString(attribute.choices[chosen]) : QString();
  }
  case AttributeKind::real: {
    const QString unit = QString::fromUtf8(attribute.unit);
    const QString number = QLocale().toString(attribute.value.GetReal(), 'g', 5);
    return unit.isEmpty() || unit == QString(QChar(0xb0)) ? number + unit : number + QLatin1Char(' ') + unit;
  }
  case AttributeKind::color: {
    const Vector color = attribute.value.GetVector();
    const double most = brightest(color);
    const QString name = screenColor(color * (1 / most)).name();
    return most > 1 ? name + QStringLiteral(" %1 %").arg(std::lround(most * 100)) : name;
  }
  default:
    return {};
  }
}

QVariant LightTableModel::data(const QModelIndex& index, int role) const {
  const Attribute* attribute = attributeAt(index);
  if (!attribute) return {};
  const LightRow& row = rows_[static_cast<std::size_t>(index.row())];
  const bool isSwitch = attribute->kind == AttributeKind::boolean;
  switch (role) {
  case Qt::DisplayRole:
  case Qt::EditRole:
    return isSwitch ? QVariant() : textOf(*attribute);
  case Qt::CheckStateRole:
    return isSwitch ? QVariant(attribute->value.GetBool() ? Qt::Checked : Qt::Unchecked) : QVariant();
  case Qt::ForegroundRole:
    return row.silent ? tokens().disabled : QVariant();
  case Qt::DecorationRole:
    if (attribute->id == AttributeId::name)
      return icon(objectIconName(objectIcon(Olight, row.cell(LightColumn::kind).value.GetLong())));
    if (attribute->kind != AttributeKind::color) return {};
    return swatchOf(
        screenColor(attribute->value.GetVector() * (1 / brightest(attribute->value.GetVector()))));
  case Qt::TextAlignmentRole:
    return attribute->kind == AttributeKind::real ? QVariant(Qt::AlignRight | Qt::AlignVCenter) : QVariant();
  case Qt::ToolTipRole: {
    const Heading heading = headingOf(static_cast<LightColumn>(index.column()));
    return attribute->id == AttributeId::name
               ? toQt(attribute->value.GetString())
               : QString::fromUtf8(attribute->label) + QStringLiteral(": ") + heading.tip;
  }
  case Qt::AccessibleTextRole:
    return headingOf(static_cast<LightColumn>(index.column())).name + QLatin1Char(' ') +
           (isSwitch ? QString() : textOf(*attribute).toString());
  case sortRole:
    return attribute->kind == AttributeKind::real      ? QVariant(attribute->value.GetReal())
           : attribute->kind == AttributeKind::boolean ? QVariant(attribute->value.GetBool() != FALSE)
                                                       : textOf(*attribute);
  default:
    return {};
  }
}

QVariant LightTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal) return {};
  const Heading heading = headingOf(static_cast<LightColumn>(section));
  if (role == Qt::DisplayRole) return heading.name;
  return role == Qt::ToolTipRole ? QVariant(heading.tip) : QVariant();
}

bool LightTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  const Attribute* attribute = attributeAt(index);
  if (!attribute) return false;
  if (role == Qt::CheckStateRole && attribute->kind == AttributeKind::boolean) {
    edit(index, GeData(LONG(value.toInt() == Qt::Checked)));
    return true;
  }
  if (role != Qt::EditRole || attribute->kind != AttributeKind::text) return false;
  const QString text = value.toString().trimmed();
  if (attribute->id == AttributeId::name && text.isEmpty()) return false;
  edit(index, GeData(toHost(text)));
  return true;
}

Qt::ItemFlags LightTableModel::flags(const QModelIndex& index) const {
  const Attribute* attribute = attributeAt(index);
  if (!attribute) return Qt::ItemIsSelectable | Qt::ItemIsEnabled;
  const Qt::ItemFlags usual = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
  return usual | (attribute->kind == AttributeKind::boolean ? Qt::ItemIsUserCheckable : Qt::ItemIsEditable);
}

} // namespace host
