// Compares pictures of the list in the Frame Buffer. Main thread.
#pragma once

#include <QTimer>
#include <QWidget>
#include <array>

#include "canvas_look.h"
#include "compare_source.h"
#include "latest_job.h"
#include "session.h"

class QCheckBox;
class QComboBox;
class QGridLayout;
class QLabel;

namespace host {

class FrameBuffer;
class PictureSource;
class SliderField;

/// A drag of the line in the picture moves the wipe, with Shift it turns it. Blinking and the toggle change
/// between images that are there already. Metrics are measured in the background. The pictures are shown
/// through the Frame Buffer's view, with the light mix and the lens effects. Rows of the filmstrip and
/// picture files can be dropped on A, B ...; beside them they become A, or B when there is an A.
class ComparePanel : public QWidget {
  Q_OBJECT
 public:
  ComparePanel(Session& session, FrameBuffer& frame);
  ~ComparePanel() override;

  CompareSource& source() { return *source_; }
  /// The picture of the list becomes A (0), B (1) ...; 0: none.
  void use(std::size_t index, PictureList::Id id);
  /// The light of pictures with a film is mixed and seen through the lens.
  void setDesk(const DeskLook& desk);
  /// Shows the comparison on the canvas, or the current picture alone.
  void setOn(bool on);
  bool isOn() const { return on_; }
  void setMode(CompareMode mode);
  void toggle();
  /// True while metrics are being measured.
  bool isMeasuring() const { return job_.isBusy(); }

  static constexpr int blinkPeriod = 500; // milliseconds

  QSize sizeHint() const override { return {320, 360}; }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  struct Measured;
  void buildFields();
  QComboBox* addCombo(QGridLayout& grid, const QString& label, const char* name, const QString& tip);
  void addBlink(QGridLayout& grid);
  void addLabels(QGridLayout& grid);
  void addCommands();
  void fillLists();
  CanvasLook look() const;
  void takeLook();
  void takePicture(std::size_t index);
  std::size_t slotAt(const QPoint& at) const;
  void openFile(std::size_t index, const QString& file);
  void takeImage(std::size_t index);
  void measure();
  void showMeasured(const Measured& measured);
  void updateState();
  bool isNearLine(const QPointF& at) const;
  void drag(const QPointF& at, bool turns);

  Session& session_;
  FrameBuffer& frame_;
  CompareSource* source_;
  std::array<PictureSource*, CompareSource::most> pictures_{};
  std::array<PictureList::Id, CompareSource::most> ids_{};
  std::array<QComboBox*, CompareSource::most> choices_{};
  QComboBox *mode_ = nullptr, *heat_ = nullptr;
  QCheckBox *shown_ = nullptr, *blink_ = nullptr;
  SliderField *gain_ = nullptr, *angle_ = nullptr;
  QLabel *note_ = nullptr, *values_ = nullptr;
  QTimer blinking_;
  LatestJob job_{"compare pictures"};
  bool on_ = false, dragging_ = false;
  DeskLook desk_;
  std::vector<Subscription> subscriptions_;
};

} // namespace host
