// The choices of a movie format. Main thread.
#pragma once

#include <QComboBox>
#include <QDialog>
#include <vector>

#include "movie_options.h"

class QCheckBox;
class QLabel;

namespace host {

class NumberField;
class SliderField;

/// Shows the codecs that this installation offers for `format` (FILTER_AVI, FILTER_MOVIE) and their options;
/// an option without effect on the chosen codec is disabled.
class MovieOptionsDialog : public QDialog {
  Q_OBJECT
 public:
  MovieOptionsDialog(LONG format, const MovieOptions& options, QWidget* parent = nullptr);
  MovieOptions options() const;

 private:
  void fillFields(const MovieOptions& options);
  void layOut();
  void describe();
  const MovieCodecInfo* codec() const;
  void showCodec();

  std::vector<MovieCodecInfo> codecs_;
  QComboBox* codec_;
  SliderField* quality_;
  QCheckBox* ownBitRate_;
  NumberField* bitRate_;
  QCheckBox* ownKeys_;
  NumberField* keyDistance_;
  QCheckBox* alpha_;
  QLabel* note_;
};

/// Writes the choices into a container as `readMovieOptions` reads them; its other entries stay.
void writeMovieOptions(const MovieOptions& options, BaseContainer& container);

} // namespace host
