// The render settings of the document. Main thread.
#pragma once

#include <QDialog>
#include <QTimer>
#include <functional>
#include <map>
#include <vector>

#include "c4d_container.h"
#include "session.h"

class QCheckBox;
class QComboBox;
class QGridLayout;
class QLabel;
class QListWidget;
class QListWidgetItem;
class QPushButton;
class QTabWidget;

namespace host {

class NumberField;

/// Every change is an edit of the active render data at once; there is nothing to confirm. Not modal: it
/// follows the document. A setting that the document keeps but no render looks at is marked as such.
class RenderSettingsDialog : public QDialog {
  Q_OBJECT
 public:
  explicit RenderSettingsDialog(Session& session, QWidget* parent = nullptr);
  ~RenderSettingsDialog() override;

  /// Takes over what has changed in the document now and not soon.
  void refresh();
  /// The field of a setting (RDATA_...): a NumberField, QComboBox or QCheckBox; null when there is none.
  QWidget* field(LONG id) const;
  QTabWidget& tabs() { return *tabs_; }
  QListWidget& effects() { return *effects_; }
  /// Adds an effect of a type that is not there yet, removes the chosen one.
  void addEffect(LONG type);
  void removeEffect();
  /// Keeps the picture's proportions when a side is changed. Of the dialog, not of the document.
  void setProportional(bool on);

  QSize sizeHint() const override { return {460, 640}; }

 signals:
  void renderWanted();

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  struct Entry {
    QWidget* widget;
    std::function<void(const GeData&)> show;
    std::function<bool()> enabled; // empty: always
  };
  using Values = std::vector<std::pair<LONG, GeData>>;

  // Pages.
  QWidget* buildOutput();
  QWidget* buildQuality();
  QWidget* buildOptions();
  QWidget* buildEffects();
  QGridLayout* addGroup(QWidget* page, const QString& title);
  void addRow(QGridLayout& grid, const QString& label, QWidget* widget, const QString& tip);
  void addSize(QGridLayout& grid, LONG id, const QString& label);
  /// `factor`: what is shown is this many times what is stored.
  void addNumber(QGridLayout& grid, LONG id, const QString& label, const QString& tip, double least,
                 double most, int decimals = 0, double step = 1, double factor = 1,
                 const QString& suffix = {});
  NumberField* makeNumber(QGridLayout& grid, LONG id, const QString& label, const QString& tip, double least,
                          double most, int decimals, double step, double factor, const QString& suffix);
  void addFrame(QGridLayout& grid, LONG id, const QString& label, const QString& tip);
  void addChoice(QGridLayout& grid, LONG id, const QString& label, const QString& tip,
                 const std::vector<std::pair<LONG, QString>>& choices);
  void addSwitch(QGridLayout& grid, LONG id, const QString& label, const QString& tip, bool hasEffect = true,
                 int indent = 0);
  void addPresets(QGridLayout& grid);
  void connectNumber(NumberField& field, std::function<Values(double)> values);

  // Values.
  GeData value(LONG id) const;
  bool isOn(LONG id) const;
  LONG fps() const;
  void change(const Values& values);
  void enable(LONG id, std::function<bool()> when) { entries_.at(id).enabled = std::move(when); }
  void showEffects();
  void showEffectNote();
  void switchEffect(QListWidgetItem* item);
  void fillAddMenu();

  Session& session_;
  QTabWidget* tabs_ = nullptr;
  QListWidget* effects_ = nullptr;
  QComboBox* presets_ = nullptr;
  QCheckBox* proportional_ = nullptr;
  QPushButton *add_ = nullptr, *remove_ = nullptr;
  QLabel *effectNote_ = nullptr, *noEffects_ = nullptr;
  std::map<LONG, Entry> entries_;
  double proportion_ = 16.0 / 9;
  QTimer soon_;
  bool stale_ = true, settling_ = false, dragging_ = false;
  std::vector<Subscription> subscriptions_;
};

} // namespace host
