// Render > Render Animation: the wishes of an animation, which goes into the render queue. Main thread.
#pragma once

#include <QDialog>

#include "render_queue.h"

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;

namespace host {

class NumberField;
class Session;

/// Not modal. The fields begin with the document's values each time that it is opened; those of the format
/// are kept in the preferences.
class AnimationDialog : public QDialog {
  Q_OBJECT
 public:
  AnimationDialog(Session& session, farm::RenderQueue& queue, QWidget* parent = nullptr);

  /// Takes frames, size, camera and samples from the open document.
  void fill();
  farm::AnimationOrder order() const;

 signals:
  /// An animation has come into the queue.
  void queued();

 private:
  void addPicture(QFormLayout& form);
  void addFormat(QFormLayout& form);
  void layOut();
  void chooseOutput();
  void showFormat();
  void fillCodecs();
  void add();
  void say(const QString& text, bool error);
  void keep() const;
  void takeKept();

  Session& session_;
  farm::RenderQueue& queue_;
  QFormLayout* format_ = nullptr;
  QLineEdit *output_, *frames_;
  NumberField *width_, *height_, *samples_, *quality_;
  QComboBox *camera_, *codec_, *compression_, *existing_;
  QCheckBox *denoise_, *stamps_, *alpha_, *half_, *layers_, *deep_, *replace_;
  QWidget* qualityRow_ = nullptr;
  QLabel* message_;
  QPushButton* add_;
  QString codecsOf_; // the suffix whose codecs are listed
};

} // namespace host
