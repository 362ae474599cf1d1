#include "icons.h"

#include <QtSvg/QSvgRenderer>

#include "theme.h"

// Without this call the linker drops the resources of a static library. Qt wants it outside any namespace.
static void loadResources() {
  Q_INIT_RESOURCE(studio);
}

namespace host {

namespace {

QByteArray readSvg(const QString& name) {
  static const bool loaded = (loadResources(), true);
  Q_UNUSED(loaded);
  static QHash<QString, QByteArray> known;
  const auto found = known.constFind(name);
  if (found != known.constEnd()) return *found;
  if (name.contains(QLatin1Char('/'))) return {};
  QFile file(QStringLiteral(":/icons/%1.svg").arg(name));
  const QByteArray svg = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  known.insert(name, svg);
  return svg;
}

// `pixels`: of the picture, not logical.
QPixmap renderSvg(const QString& name, QSize pixels, const QColor& color) {
  const QString key =
      QStringLiteral("icon %1 %2 %3 %4").arg(name).arg(pixels.width()).arg(pixels.height()).arg(color.rgba());
  QPixmap pixmap;
  if (QPixmapCache::find(key, &pixmap)) return pixmap;
  QByteArray svg = readSvg(name);
  if (svg.isEmpty() || pixels.isEmpty()) return {};
  svg.replace("currentColor", color.name().toLatin1());
  QSvgRenderer renderer(svg);
  if (!renderer.isValid()) return {};
  renderer.setAspectRatioMode(Qt::KeepAspectRatio);
  pixmap = QPixmap(pixels);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  renderer.render(&painter);
  painter.end();
  QPixmapCache::insert(key, pixmap);
  return pixmap;
}

QColor colorOf(QIcon::Mode mode, QIcon::State state) {
  if (mode == QIcon::Disabled) return tokens().disabled;
  return state == QIcon::On ? tokens().accent : tokens().text;
}

// Paints with the colours of the moment, so that a changed theme needs no new icons.
class SvgEngine : public QIconEngine {
 public:
  explicit SvgEngine(const QString& name) : name_(name) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
    const qreal ratio = painter->device() ? painter->device()->devicePixelRatio() : 1;
    painter->drawPixmap(rect, scaledPixmap(rect.size() * ratio, mode, state, ratio));
  }
  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    return renderSvg(name_, size, colorOf(mode, state));
  }
  QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state, qreal ratio) override {
    QPixmap picture = renderSvg(name_, size, colorOf(mode, state));
    picture.setDevicePixelRatio(ratio);
    return picture;
  }
  QSize actualSize(const QSize& size, QIcon::Mode, QIcon::State) override { return size; }
  QIconEngine* clone() const override { return new SvgEngine(*this); }
  QString key() const override { return QStringLiteral("lumenara-svg"); }
  QString iconName() override { return name_; }
  bool isNull() override { return false; }

 private:
  QString name_;
};

} // namespace

bool hasIcon(const QString& name) {
  return !readSvg(name).isEmpty();
}

QIcon icon(const QString& name) {
  return hasIcon(name) ? QIcon(new SvgEngine(name)) : QIcon();
}

QPixmap iconPixmap(const QString& name, int size, const QColor& color, double ratio) {
  const int pixels = qRound(size * ratio);
  QPixmap picture = renderSvg(name, {pixels, pixels}, color.isValid() ? color : tokens().text);
  if (!picture.isNull()) picture.setDevicePixelRatio(ratio);
  return picture;
}

} // namespace host
