// The icons: host/qt/icons/NAME.svg, line art in one colour. Main thread.
#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>

namespace host {

/// The icon of this name, sharp at every size and pixel ratio, in the colours of the theme in place whenever
/// it is painted: text, disabled, accent when on. No such file: an empty icon.
QIcon icon(const QString& name);

/// One picture of it, `size` logical pixels a side; null without such a file. An invalid colour: the text's.
QPixmap iconPixmap(const QString& name, int size, const QColor& color = {}, double ratio = 1);

/// Whether there is such a file.
bool hasIcon(const QString& name);

} // namespace host
