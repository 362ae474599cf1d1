// The browser of made skies. Main thread.
#pragma once

#include <QDialog>
#include <QIcon>

#include "session.h"

class QLabel;
class QListWidget;
class QPushButton;

namespace host {

class BackgroundJob;
class NumberField;

/// Skies as thumbnails, and the place and time of daylight. A double click, or Apply, makes the sky that of
/// the scene, with the sun as a light, as one step of undo.
class SkyWindow : public QDialog {
  Q_OBJECT
 public:
  SkyWindow(Session& session, QWidget* parent);
  ~SkyWindow() override;

  QListWidget& list() { return *list_; }
  NumberField& hour() { return *hour_; }
  NumberField& latitude() { return *latitude_; }
  /// Applies the chosen sky as the fields say.
  void apply();
  /// Waits until all thumbnails are there.
  void finishThumbnails();

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void build();
  QWidget* buildDaylight();
  NumberField* addField(class QFormLayout& form, const QString& label, const char* name, double least,
                        double most, int decimals, const QString& unit, const QString& tip);
  void startThumbnails();
  void takeThumbnails();
  void choose();
  void showRecipe(const SkyRecipe& recipe);
  SkyRecipe recipe() const;
  void showSun();
  void showDocument();

  struct Thumbnails;
  Session& session_;
  SkyRecipe base_; // of the chosen sky
  QListWidget* list_;
  QWidget* daylight_;
  NumberField *latitude_, *longitude_, *year_, *month_, *day_, *hour_, *zone_, *turbidity_;
  QLabel *sun_, *state_;
  QPushButton* apply_;
  std::shared_ptr<Thumbnails> thumbnails_;
  std::unique_ptr<BackgroundJob> job_;
  Lifetime<SkyWindow> lifetime_{*this};
};

} // namespace host
