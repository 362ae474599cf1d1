// The icons: host/qt/icons/NAME.svg, line art in one colour. Main thread.
#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>

namespace host {

/// The icon of this name, sharp at every size and pixel ratio, in the colours of the theme in place whenever
/// it is painted: text, disabled, accent when on. Empty when the file is missing.
QIcon icon(const QString& name);

/// The icon as a picture, `size` logical pixels a side; null when the file is missing. An invalid colour
/// means the text's.
QPixmap iconPixmap(const QString& name, int size, const QColor& color = {}, double ratio = 1);

/// Whether the file exists.
bool hasIcon(const QString& name);

} // namespace host
