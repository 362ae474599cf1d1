// What the command line changes in a document before it is rendered. Main thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "c4d_bitmap.h"
#include "c4d_document.h"
#include "command_line.h"
#include "lm_settings.h"

namespace batch {

/// A camera and what the command line calls it: its name, and "name#2" for the second one of a name.
struct NamedCamera {
  BaseObject* object = nullptr;
  std::string name;
};

/// All cameras of a document, in document order.
std::vector<NamedCamera> camerasOf(const BaseDocument& document);

/// Makes the camera of this name the one that the document's views look through, whatever the document had
/// chosen before. Throws `Stop` (wrong use) when there is none; the sentence lists those that there are.
void chooseCamera(BaseDocument& document, const std::string& name);

/// Brings the document to a frame. A job's clone comes without animation and keeps this pose.
void goToFrame(BaseDocument& document, LONG frame);

/// Writes the most samples a pixel into the active render settings.
void setSamples(BaseDocument& document, LONG samples);

/// The size of the active render settings; 1280 x 720 where they say nothing usable.
PixelSize renderSize(const BaseDocument& document);

/// The size of the next picture: `wanted` or that of the active render settings, divided as the settings say.
PixelSize pictureSize(const std::optional<PixelSize>& wanted, const BaseDocument& document,
                      const lmSettings& settings);

/// Gives an empty bitmap this size. Throws `Stop` (render failed) when the memory is not enough.
void makeBitmap(BaseBitmap& bitmap, PixelSize size);

/// The camera of the next render: that of the viewer's record in the document, else the render view's.
BaseObject* renderCamera(BaseDocument& document);

} // namespace batch
