#include "compare_source.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

#include "theme.h"

namespace host {

namespace {

PixelView viewOf(const QImage& image) {
  return {reinterpret_cast<const std::uint32_t*>(image.constBits()), image.width(), image.height(),
          static_cast<std::size_t>(image.bytesPerLine()) / 4};
}

PixelTarget targetOf(QImage& image) {
  return {reinterpret_cast<std::uint32_t*>(image.bits()), image.width(), image.height(),
          static_cast<std::size_t>(image.bytesPerLine()) / 4};
}

QImage fittedImage(const QImage& image, const QSize& size) {
  if (image.isNull() || image.size() == size) return image;
  const PicturePixels pixels = fitted(viewOf(image), size.width(), size.height());
  return QImage(reinterpret_cast<const uchar*>(pixels.pixels.data()), size.width(), size.height(),
                4 * size.width(), QImage::Format_ARGB32)
      .copy();
}

QImage scaledTo(const QImage& image, double zoom) {
  const QSize pixels(std::max(1, static_cast<int>(std::lround(image.width() * zoom))),
                     std::max(1, static_cast<int>(std::lround(image.height() * zoom))));
  return image.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
      .convertToFormat(QImage::Format_ARGB32);
}

} // namespace

void CompareSource::setImage(std::size_t index, const QImage& image) {
  given_[index] = image.isNull() ? QImage() : image.convertToFormat(QImage::Format_ARGB32);
  const QSize size = given_[0].size();
  fitting_.drop();
  if (std::all_of(given_.begin(), given_.end(),
                  [&](const QImage& one) { return one.isNull() || size.isEmpty() || one.size() == size; }))
    return takeImages(given_);
  const auto made = std::make_shared<Images>();
  fitting_.start(
      [given = given_, made] {
        std::transform(given.begin(), given.end(), made->begin(),
                       [&](const QImage& one) { return fittedImage(one, given[0].size()); });
      },
      [this, made] { takeImages(*made); });
}

void CompareSource::takeImages(const Images& images) {
  images_ = images;
  compose();
  emit imagesChanged();
}

void CompareSource::setMode(CompareMode mode) {
  mode_ = mode;
  compose();
}

void CompareSource::setLine(const WipeLine& line) {
  line_ = line;
  if (mode_ == CompareMode::wipe) emit changed(); // composed when it is painted
}

void CompareSource::showB(bool on) {
  showsB_ = on;
  if (mode_ == CompareMode::toggle) compose();
}

void CompareSource::setGain(double gain) {
  gain_ = gain;
  if (mode_ == CompareMode::difference) compose();
}

void CompareSource::setHeat(const std::vector<float>& map) {
  heat_ = map;
  if (mode_ == CompareMode::heat) compose();
}

void CompareSource::compose() {
  scaled_ = scaledB_ = QImage();
  const QImage &a = images_[0], &b = images_[1];
  shown_ = a;
  if (!a.isNull() && mode_ == CompareMode::sideBySide) shown_ = composeGrid();
  if (!a.isNull() && !b.isNull()) {
    if (mode_ == CompareMode::toggle && showsB_) shown_ = b;
    if (mode_ == CompareMode::difference) {
      shown_ = QImage(a.size(), QImage::Format_ARGB32);
      difference(viewOf(a), viewOf(b), gain_, targetOf(shown_));
    }
    const auto pixels = static_cast<std::size_t>(a.width()) * static_cast<std::size_t>(a.height());
    if (mode_ == CompareMode::heat && heat_.size() == pixels) {
      shown_ = QImage(a.size(), QImage::Format_ARGB32);
      heatPicture(heat_, targetOf(shown_));
    }
  }
  emit changed();
}

QImage CompareSource::composeWipe(const QImage& a, const QImage& b) const {
  if (b.isNull()) return a;
  QImage out(a.size(), QImage::Format_ARGB32);
  wipe(viewOf(a), viewOf(b), line_, targetOf(out));
  return out;
}

// Two beside each other, three and four in two rows.
QImage CompareSource::composeGrid() const {
  const auto count = static_cast<int>(
      std::count_if(images_.begin(), images_.end(), [](const QImage& image) { return !image.isNull(); }));
  const int columns = std::min(count, 2), rows = (count + 1) / 2;
  const int width = images_[0].width(), height = images_[0].height();
  QImage out(columns * width + (columns - 1) * gap, rows * height + (rows - 1) * gap, QImage::Format_ARGB32);
  out.fill(tokens().window);
  QPainter painter(&out);
  int place = 0;
  for (const QImage& image : images_) {
    if (image.isNull()) continue;
    painter.drawImage((place % 2) * (width + gap), (place / 2) * (height + gap), image);
    ++place;
  }
  return out;
}

QColor CompareSource::colorAt(const QPoint& pixel) const {
  if (mode_ != CompareMode::wipe || images_[1].isNull()) return shown_.pixelColor(pixel);
  const WipeColumns beyond = columnsBeyond(line_, shown_.width(), shown_.height(), pixel.y());
  return images_[pixel.x() >= beyond.first && pixel.x() < beyond.end ? 1 : 0].pixelColor(pixel);
}

void CompareSource::paint(QPainter& painter, const CanvasPlace& place) {
  if (shown_.isNull()) return;
  const bool wiped = mode_ == CompareMode::wipe && !images_[1].isNull();
  const QRectF target = place.target(size());
  if (place.zoom < 1) {
    if (scaled_.isNull() || scaledFor_ != place.zoom) {
      scaled_ = scaledTo(shown_, place.zoom);
      scaledB_ = wiped ? scaledTo(images_[1], place.zoom) : QImage();
      scaledFor_ = place.zoom;
    }
    painter.drawImage(target, wiped ? composeWipe(scaled_, scaledB_) : scaled_);
  } else {
    painter.drawImage(target, wiped ? composeWipe(shown_, images_[1]) : shown_);
  }
  if (wiped) paintLine(painter, target);
}

// A line of two tones, seen on any picture.
void CompareSource::paintLine(QPainter& painter, const QRectF& target) const {
  const QPointF middle(target.left() + line_.x * target.width(), target.top() + line_.y * target.height());
  const double turn = line_.angle * 3.14159265358979323846 / 180;
  const QPointF along = QPointF(-std::sin(turn), std::cos(turn)) * (target.width() + target.height());
  painter.save();
  painter.setClipRect(target);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(QColor(0, 0, 0, 160), 3));
  painter.drawLine(middle - along, middle + along);
  painter.setPen(QPen(QColor(255, 255, 255, 220), 1));
  painter.drawLine(middle - along, middle + along);
  painter.restore();
}

} // namespace host
