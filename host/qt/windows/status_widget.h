// The line at the window's lower edge: the scene, and what the program is busy with. Main thread.
#pragma once

#include <QTimer>
#include <QWidget>
#include <functional>
#include <optional>

#include "session.h"
#include "status_bar.h"

class QLabel;
class QProgressBar;
class QToolButton;

namespace host {

/// Long work as a user sees it.
struct BusyState {
  enum class Source { none, file, render, plugin } source = Source::none;
  QString text;
  double progress = -1;   // 0 to 1; below 0: unknown
  Milliseconds left = -1; // below 0: unknown
  bool canStop = false;
  QString detail = {}; // of the viewer's render: "24 of 64 samples, noise 0.012"
  friend bool operator==(const BusyState&, const BusyState&) = default;
};

/// "12 s", "3 min 20 s", "1 h 5 min".
QString durationText(Milliseconds duration);
/// "999", "15.2 k", "1.04 M".
QString countText(std::size_t count);

/// File name and triangle count of the scene; text, bar, time left and a stop button of what goes on: loading
/// and saving first, then the host's renders, then what a plug-in reports; during a render of the viewer its
/// samples and its noise as well. Work that is over within `delay` shows no bar.
class StatusWidget : public QWidget {
  Q_OBJECT
 public:
  static constexpr Milliseconds delay = 300;

  explicit StatusWidget(Session& session, QWidget* parent = nullptr);
  ~StatusWidget() override;

  /// Stops what a plug-in does; empty: it cannot be stopped here.
  void setStopPlugins(std::function<void()> stop) { stopPlugins_ = std::move(stop); }
  /// A sentence for some seconds, while nothing goes on.
  void say(const QString& sentence);
  /// The text that is shown now.
  BusyState shown() const { return shown_; }
  /// Stops what is shown.
  void stop();

 private:
  BusyState wanted() const;
  void look();
  void show_(const BusyState& state);
  void pluginStatus(const StatusState& state);
  void takeViewer(BusyState& state) const;
  void watchViewer(const FilmNews& news);
  void lookAtViewer();
  void showScene();

  Session& session_;
  std::function<void()> stopPlugins_;
  StatusState plugin_;
  Milliseconds pluginSince_ = 0;
  double pluginFrom_ = 0; // progress at that moment
  ViewerProgress viewer_; // of the viewer's render
  Milliseconds viewerSince_ = 0;
  int viewerFrom_ = 0; // samples at that moment
  BusyState shown_;
  std::optional<Milliseconds> busySince_;
  QString said_;
  QTimer late_, sceneSoon_, forget_, poll_;
  QLabel *file_, *count_, *text_, *detail_, *left_;
  QProgressBar* bar_;
  QToolButton* stop_;
  Subscription fileChanged_, renderChanged_, renderFinished_, hubChanged_, hubReplaced_, rendered_;
};

} // namespace host
