// Made skies in a document. Main thread, but for what says otherwise.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "edits.h"
#include "lifetime.h"
#include "made_sky.h"

namespace host {

namespace param {
// of a sky object whose picture the program has made: the recipe. 0: none, else 1 + SkyModel
inline constexpr LONG madeSkyModel = 1165, madeSkyLatitude = 1166, madeSkyLongitude = 1167,
                      madeSkyYear = 1168, madeSkyMonth = 1169, madeSkyDay = 1170, madeSkyHour = 1171,
                      madeSkyZone = 1172, madeSkyTurbidity = 1173, madeSkyStudio = 1174;
// of a distant light: the sun of a made sky, which goes with it
inline constexpr LONG lightOfSky = 1175;
} // namespace param

/// Makes this the document's sky: its picture, and the sun as a distant light named "Sun"; the sun of an
/// earlier made sky is turned, or deleted. Turn and strength of the sky start anew.
void applySky(BaseDocument& document, const SkyRecipe& recipe, const MadeSky& sky, const PicturePtr& picture);
/// The recipe of the document's first sky; empty for any other sky.
std::optional<SkyRecipe> skyRecipeOf(const BaseDocument& document);

class BackgroundJob;

/// Makes skies on a thread and applies each as one step of undo.
class SkyMaker {
 public:
  explicit SkyMaker(Edits& edits);
  ~SkyMaker(); // gives up what runs
  SkyMaker(const SkyMaker&) = delete;
  SkyMaker& operator=(const SkyMaker&) = delete;

  /// The newest of several orders counts. `done` gets an empty text, or a sentence for the user.
  using Done = std::function<void(const std::string& error)>;
  void apply(const SkyRecipe& recipe, const std::string& name, Done done = {});
  bool isBusy() const noexcept { return job_ != nullptr; }
  void finish();

 private:
  struct Order;
  void start();
  void ended();

  Edits& edits_;
  std::shared_ptr<Order> running_, next_;
  std::unique_ptr<BackgroundJob> job_;
  Lifetime<SkyMaker> lifetime_{*this};
};

} // namespace host
