// Fields for the active render data, as the render settings show them. Main thread.
#pragma once

#include <QObject>
#include <functional>
#include <map>
#include <utility>
#include <vector>

#include "session.h"

class QGridLayout;
class QWidget;

namespace host {

class NumberField;

/// Makes fields for settings (RDATA_...), shows the document's values in them, and makes every change of
/// theirs an edit. A drag of a number is one step of undo.
class RenderSettingFields : public QObject {
  Q_OBJECT
 public:
  using Values = std::vector<std::pair<LONG, GeData>>;
  using Choices = std::vector<std::pair<LONG, QString>>;

  /// Fields become children of `parent`.
  RenderSettingFields(Session& session, QWidget& parent);
  ~RenderSettingFields() override;

  /// A grid with a heading at the end of a page, which has a QVBoxLayout.
  QGridLayout* addGroup(QWidget* page, const QString& title);
  /// A widget with a label, in a new row.
  void addRow(QGridLayout& grid, const QString& label, QWidget* widget, const QString& tip);
  /// `factor`: shown value = stored value * factor.
  void addNumber(QGridLayout& grid, LONG id, const QString& label, const QString& tip, double least,
                 double most, int decimals = 0, double step = 1, double factor = 1,
                 const QString& suffix = {});
  /// The same, but a change stores the values that the caller connects (`connectNumber`).
  NumberField* makeNumber(QGridLayout& grid, LONG id, const QString& label, const QString& tip, double least,
                          double most, int decimals, double step, double factor, const QString& suffix);
  void connectNumber(NumberField& field, std::function<Values(double)> values);
  void addFrame(QGridLayout& grid, LONG id, const QString& label, const QString& tip);
  void addChoice(QGridLayout& grid, LONG id, const QString& label, const QString& tip,
                 const Choices& choices);
  /// A choice that is stored as its text; no text is the first. The names are asked for whenever the
  /// document's values are shown. A stored text that is not among them is shown as it is.
  void addNameChoice(QGridLayout& grid, LONG id, const QString& label, const QString& tip,
                     std::function<QStringList()> names);
  /// The name of a file, with a button to choose one that ends in `suffix`. `none` stands in the empty field.
  void addFile(QGridLayout& grid, LONG id, const QString& label, const QString& tip, const QString& none,
               const QString& suffix);
  /// Without `hasEffect` the field says that no render here uses the setting.
  void addSwitch(QGridLayout& grid, LONG id, const QString& label, const QString& tip, bool hasEffect = true,
                 int indent = 0);
  /// A box for each bit of a setting, with its name and its label. The setting's field holds the boxes.
  struct Bit {
    LONG bit;
    QString name, label;
  };
  void addBits(QGridLayout& grid, LONG id, const std::vector<Bit>& bits);
  /// The field of a setting is enabled while this is true.
  void enable(LONG id, std::function<bool()> when) { entries_.at(id).enabled = std::move(when); }

  /// The field of a setting: a NumberField, QComboBox or QCheckBox; else null.
  QWidget* field(LONG id) const;
  GeData value(LONG id) const;
  bool isOn(LONG id) const;
  void change(const Values& values);
  /// Shows the document's values.
  void refresh();
  /// The document was replaced: a drag under way changes nothing more.
  void forgetDrag() { dragging_ = false; }

 signals:
  /// A field has changed the document.
  void changed();

 private:
  struct Entry {
    QWidget* widget;
    std::function<void(const GeData&)> show;
    std::function<bool()> enabled; // empty: always
  };
  LONG fps() const;

  Session& session_;
  QWidget& parent_;
  std::map<LONG, Entry> entries_;
  bool dragging_ = false;
};

} // namespace host
