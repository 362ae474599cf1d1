#include "sky_edits.h"

#include <array>
#include <cmath>
#include <utility>

#include "background_job.h"
#include "document.h"
#include "light_source.h"
#include "node_lookup.h"
#include "parameters.h"
#include "scene_edits.h"
#include "scene_file.h"
#include "scene_queries.h"

namespace host {

namespace {

constexpr int pictureHeight = 512;
constexpr double sunAngularRadius = 0.00465; // radians

Identity skyIn(const BaseDocument& document) {
  Identity found = 0;
  forEachObject(stateOf(&document)->children, [&found](const ObjectState& object) {
    if (!found && object.type == Osky) found = object.identity;
  });
  return found;
}

Identity sunIn(const BaseDocument& document) {
  Identity found = 0;
  forEachObject(stateOf(&document)->children, [&found](const ObjectState& object) {
    if (!found && object.type == Olight && param::flag(object, param::lightOfSky)) found = object.identity;
  });
  return found;
}

// Its -Z axis points away from the sun; it stands outside of the scene, where its sign is seen.
Matrix sunPlace(BaseDocument& document, const Vector& toSun) {
  const std::optional<SceneBounds> room = sceneBounds(document);
  const Vector aside = std::abs(toSun.y) < 0.99 ? Vector(0, 1, 0) : Vector(0, 0, -1);
  Vector right = Cross(aside, toSun);
  right = right * (1 / std::sqrt(Dot(right, right)));
  return {room ? room->center() + toSun * (3 * room->radius()) : toSun * 5.0, right, Cross(toSun, right),
          toSun};
}

void putSun(BaseDocument& document, const MadeSky& sky) {
  Identity sun = sunIn(document);
  if (!sky.hasSun) {
    if (sun) deleteObjects(document, std::array{sun});
    return;
  }
  if (!sun) {
    sun = newLight(document, 2);
    renameNode(document, sun, "Sun");
  }
  ObjectState& light = *objectIn(stateIn(document), sun);
  light.data.SetBool(param::lightOfSky, TRUE);
  light.data.SetLong(param::lightKind, 2);
  light.data.SetVector(param::lightColor, sky.sunColor);
  light.data.SetReal(param::lightTemperature, 0);
  light.data.SetReal(param::lightIntensity, sky.sunLux);
  light.data.SetReal(param::lightRadius, sunAngularRadius);
  setWorldMatrix(document, sun, sunPlace(document, sky.toSun));
}

} // namespace

void applySky(BaseDocument& document, const SkyRecipe& recipe, const MadeSky& sky,
              const PicturePtr& picture) {
  const Identities selected = selectedObjects(document);
  setSkyPicture(document, {}, picture);
  ObjectState& object = *objectIn(stateIn(document), skyIn(document));
  BaseContainer& data = object.data;
  for (const LONG id : {param::skyRotation, param::skyStrength, param::skyColor})
    data.RemoveData(id);
  data.SetLong(param::madeSkyModel, 1 + static_cast<LONG>(recipe.model));
  data.SetReal(param::madeSkyLatitude, recipe.time.latitude);
  data.SetReal(param::madeSkyLongitude, recipe.time.longitude);
  data.SetLong(param::madeSkyYear, recipe.time.year);
  data.SetLong(param::madeSkyMonth, recipe.time.month);
  data.SetLong(param::madeSkyDay, recipe.time.day);
  data.SetReal(param::madeSkyHour, recipe.time.hour);
  data.SetReal(param::madeSkyZone, recipe.time.zone);
  data.SetReal(param::madeSkyTurbidity, recipe.turbidity);
  data.SetLong(param::madeSkyStudio, recipe.studio);
  putSun(document, sky);
  selectObjects(document, selected);
}

std::optional<SkyRecipe> skyRecipeOf(const BaseDocument& document) {
  const auto* object = static_cast<const ObjectState*>(findNode(*stateOf(&document), skyIn(document)));
  if (!object || object->type != Osky || param::integer(*object, param::skyKind) != 3) return std::nullopt;
  const BaseContainer& data = object->data;
  const LONG model = data.GetLong(param::madeSkyModel);
  if (model < 1 || model > 3) return std::nullopt;
  SkyRecipe recipe;
  recipe.model = static_cast<SkyModel>(model - 1);
  recipe.time = {data.GetReal(param::madeSkyLatitude), data.GetReal(param::madeSkyLongitude),
                 data.GetLong(param::madeSkyYear),     data.GetLong(param::madeSkyMonth),
                 data.GetLong(param::madeSkyDay),      data.GetReal(param::madeSkyHour),
                 data.GetReal(param::madeSkyZone)};
  recipe.turbidity = data.GetReal(param::madeSkyTurbidity);
  recipe.studio = data.GetLong(param::madeSkyStudio);
  return recipe;
}

// --- in the background ---

struct SkyMaker::Order {
  SkyRecipe recipe;
  std::string name, error;
  Done done;
  MadeSky sky;
  PicturePtr picture;

  void run() {
    try {
      sky = makeSky(recipe, pictureHeight);
      picture = pictureOf(sky, name);
    } catch (const std::exception&) {
      error = "There is not enough memory for the sky. Close other programs.";
    }
  }
};

SkyMaker::SkyMaker(Edits& edits) : edits_(edits) {
}

SkyMaker::~SkyMaker() {
  lifetime_.end();
}

void SkyMaker::apply(const SkyRecipe& recipe, const std::string& name, Done done) {
  next_ = std::make_shared<Order>();
  next_->recipe = recipe, next_->name = name, next_->done = std::move(done);
  if (!job_) start();
}

void SkyMaker::start() {
  running_ = std::exchange(next_, nullptr);
  if (!running_) return;
  job_ = std::make_unique<BackgroundJob>(
      "sky", [order = running_](BaseThread&) { order->run(); },
      [self = lifetime_.ref()] {
        if (self && self->job_) self->ended();
      });
  if (job_->Start(THREADMODE_ASYNC, THREADPRIORITY_LOWEST)) return;
  running_->error = "The sky cannot be made: the system starts no further thread. Close other programs.";
  ended();
}

void SkyMaker::ended() {
  job_->Wait(TRUE);
  job_.reset();
  const std::shared_ptr<Order> order = std::exchange(running_, nullptr);
  if (order->error.empty() && !next_)
    edits_.apply(String("Sky " + order->name), [&order](BaseDocument& document) {
      applySky(document, order->recipe, order->sky, order->picture);
    });
  if (order->done) order->done(order->error);
  if (!job_) start();
}

void SkyMaker::finish() {
  while (job_) {
    job_->Wait(TRUE);
    ended();
  }
}

} // namespace host
