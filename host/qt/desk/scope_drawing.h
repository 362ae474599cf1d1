// Scopes as pictures. Any thread.
#pragma once

#include <QImage>

#include "histogram.h"
#include "vectorscope.h"
#include "waveform.h"

namespace host {

/// Bars of 256 levels, red, green and blue added to each other, luma as a lighter line over them, on
/// transparency. 256 x 128 pixels.
QImage histogramImage(const Histogram& histogram, bool logarithmic);

/// A row a level, the highest on top; the planes beside each other, each in its colour. Brighter where more
/// pixels are, on transparency.
QImage waveformImage(const Waveform& waveform);

/// 256 x 256 cells in the colours that they stand for, Cr upwards, on transparency.
QImage vectorscopeImage(const Vectorscope& scope);

} // namespace host
