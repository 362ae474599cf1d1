// Changes that the command line makes to a document before the render. Main thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "c4d_bitmap.h"
#include "c4d_document.h"
#include "command_line.h"
#include "lens_settings.h"
#include "lm_settings.h"
#include "render_settings.h"
#include "tile_join.h"
#include "view_settings.h"

namespace batch {

/// A camera and its name on the command line; the second camera of a name is "name#2".
struct NamedCamera {
  BaseObject* object = nullptr;
  std::string name;
};

/// All cameras of a document, in document order.
std::vector<NamedCamera> camerasOf(const BaseDocument& document);

/// Makes the document's views look through the camera of this name, whatever the document had chosen. Throws
/// `Stop` (wrong use) when it does not exist; the message lists the cameras.
void chooseCamera(BaseDocument& document, const std::string& name);

/// Shows the variant of the materials of this name. Throws `Stop` (wrong use) when it does not exist; the
/// message lists the variants.
void chooseVariant(BaseDocument& document, const std::string& name);

/// Evaluates the document at a frame. A job's clone has no animation and keeps this pose.
void goToFrame(BaseDocument& document, LONG frame);

/// Writes what was given into the active render settings.
void setSampling(BaseDocument& document, const Sampling& sampling);

/// The active render settings show light so. Throws `Stop` (wrong use) for an unknown name; the message lists
/// the views.
void setView(BaseDocument& document, const ViewOptions& options);

/// The lens effects of the active render settings. When they have none on and they were asked for: all.
host::LensSettings chooseLens(const BaseDocument& document, const ViewOptions& options);

/// Whether the active render settings blur motion.
bool blursMotion(const BaseDocument& document);

/// The active render settings ask for these layers of the film, bits of host::LayerBit, instead of their own.
void setLayers(BaseDocument& document, unsigned layers);

/// The active render settings keep the samples behind the film, or go on from those of the bitmap's film.
void setKeeping(BaseDocument& document, host::render::SampleKeeping keeping);

/// The active render settings take one part of their samples, the same number in every pixel, and keep them.
/// Throws `Stop` (wrong use) when there are fewer samples than parts.
void setPart(BaseDocument& document, const SamplePart& part);

/// The active render settings render one tile of a picture of this size with its margin, with the same number
/// of samples in every pixel, and leave what needs the whole picture to the join. The facts of the tile.
/// Throws `Stop` (wrong use) when there are more columns or rows than pixels.
host::render::TileFacts setTile(BaseDocument& document, const PictureTile& tile, PixelSize size);

/// The size of the active render settings; 1280 x 720 where they have no usable one.
PixelSize renderSize(const BaseDocument& document);

/// The frames of the document, at most lastFrameNumber.
FrameRange sceneFrames(const BaseDocument& document);

/// The size of the next picture: `wanted`, else that of the active render settings, divided by the divisor in
/// the settings.
PixelSize pictureSize(const std::optional<PixelSize>& wanted, const BaseDocument& document,
                      const lmSettings& settings);

/// Gives an empty bitmap this size. Throws `Stop` (render failed) when memory is short.
void makeBitmap(BaseBitmap& bitmap, PixelSize size, bool alpha = false);

/// The camera of the next render: the one in the viewer's record of the document, else the render view's.
BaseObject* renderCamera(BaseDocument& document);

} // namespace batch
