// The entry of the part that runs OpenColorIO.
#include <OpenColorIO/OpenColorIO.h>

#include <algorithm>
#include <array>

#include "color_library.h"

namespace {

namespace ocio = OCIO_NAMESPACE;

/// Linear Rec. 709 to XYZ with the white point D65.
constexpr double rec709ToXyz[16] = {0.4123907992659595,
                                    0.357584339383878,
                                    0.1804807884018343,
                                    0,
                                    0.2126390058715102,
                                    0.715168678767756,
                                    0.07219231536073371,
                                    0,
                                    0.01933081871559182,
                                    0.11919477979462598,
                                    0.9505321522496607,
                                    0,
                                    0,
                                    0,
                                    0,
                                    1};

/// Runs `work` and turns the library's exceptions into ours.
template <class Work>
auto guarded(Work work) {
  try {
    return work();
  } catch (const ocio::Exception& error) {
    throw host::ColorError(error.what());
  }
}

class Processor final : public host::ColorProcessor {
 public:
  explicit Processor(const ocio::ConstProcessorRcPtr& processor)
      : mixes_(processor->hasChannelCrosstalk()), cpu_(processor->getDefaultCPUProcessor()) {}
  void apply(float* rgb, std::size_t pixels) const override {
    constexpr std::size_t most = 1 << 20; // the library counts in 32 bits
    for (std::size_t count; pixels > 0; pixels -= count, rgb += 3 * count) {
      count = std::min(pixels, most);
      ocio::PackedImageDesc image(rgb, static_cast<long>(count), 1, 3);
      cpu_->apply(image);
    }
  }
  bool mixesChannels() const override { return mixes_; }

 private:
  bool mixes_;
  ocio::ConstCPUProcessorRcPtr cpu_;
};

void append(ocio::GroupTransform& group, const char* style,
            ocio::TransformDirection direction = ocio::TRANSFORM_DIR_FORWARD) {
  const ocio::BuiltinTransformRcPtr transform = ocio::BuiltinTransform::Create();
  transform->setStyle(style);
  transform->setDirection(direction);
  group.appendTransform(transform);
}

/// Linear Rec. 709 to ACES2065-1.
ocio::GroupTransformRcPtr toAces() {
  const ocio::GroupTransformRcPtr group = ocio::GroupTransform::Create();
  const ocio::MatrixTransformRcPtr matrix = ocio::MatrixTransform::Create();
  matrix->setMatrix(rec709ToXyz);
  group->appendTransform(matrix);
  append(*group, "UTILITY - ACES-AP0_to_CIE-XYZ-D65_BFD", ocio::TRANSFORM_DIR_INVERSE);
  return group;
}

/// The configuration's own name of linear Rec. 709; null when it has none of the usual ones.
const char* rec709Space(const ocio::Config& config) {
  constexpr std::array names{"lin_rec709",
                             "Linear Rec.709 (sRGB)",
                             "lin_srgb",
                             "Utility - Linear - sRGB",
                             "Utility - Linear - Rec.709",
                             "Linear sRGB",
                             "Linear BT.709",
                             "linear"};
  for (const char* name : names)
    if (config.getColorSpace(name)) return name;
  return nullptr;
}

/// Our light in the configuration's view. A configuration that names no linear Rec. 709 gets ACES2065-1
/// where it has the interchange role, else its scene-linear space is taken for Rec. 709.
ocio::GroupTransformRcPtr viewTransform(const ocio::Config& config, const char* display, const char* view) {
  ocio::GroupTransformRcPtr group = ocio::GroupTransform::Create();
  const char* source = rec709Space(config);
  if (!source && config.hasRole(ocio::ROLE_INTERCHANGE_SCENE)) {
    group = toAces();
    source = ocio::ROLE_INTERCHANGE_SCENE;
  }
  const ocio::DisplayViewTransformRcPtr shown = ocio::DisplayViewTransform::Create();
  shown->setSrc(source ? source : ocio::ROLE_SCENE_LINEAR);
  shown->setDisplay(display);
  shown->setView(view);
  group->appendTransform(shown);
  return group;
}

/// Values of a colour space as our light, the way back from `viewTransform`.
ocio::GroupTransformRcPtr inputTransform(const ocio::Config& config, const char* space) {
  ocio::GroupTransformRcPtr group = ocio::GroupTransform::Create();
  const ocio::ConstColorSpaceRcPtr known = config.getColorSpace(space);
  if (!known) throw host::ColorError("there is no colour space \"" + std::string(space) + "\"");
  if (known->isData()) return group;
  const char* target = rec709Space(config);
  const bool byAces = !target && config.hasRole(ocio::ROLE_INTERCHANGE_SCENE);
  if (!target) target = byAces ? ocio::ROLE_INTERCHANGE_SCENE : ocio::ROLE_SCENE_LINEAR;
  const ocio::ColorSpaceTransformRcPtr read = ocio::ColorSpaceTransform::Create();
  read->setSrc(space);
  read->setDst(target);
  group->appendTransform(read);
  if (byAces) {
    const ocio::GroupTransformRcPtr back = toAces();
    back->setDirection(ocio::TRANSFORM_DIR_INVERSE);
    group->appendTransform(back);
  }
  return group;
}

class Config final : public host::ColorConfig {
 public:
  explicit Config(const std::string& file) : config_(ocio::Config::CreateFromFile(file.c_str())) {
    config_->validate();
  }

  std::vector<std::string> views() const override {
    std::vector<std::string> names;
    each([&](const char* display, const char* view) { names.push_back(nameOf(display, view)); });
    return names;
  }

  std::unique_ptr<host::ColorProcessor> processor(const std::string& name) const override {
    return guarded([&] {
      ocio::GroupTransformRcPtr transform;
      each([&](const char* display, const char* view) {
        if (nameOf(display, view) == name) transform = viewTransform(*config_, display, view);
      });
      if (!transform) throw host::ColorError("there is no view \"" + name + "\"");
      return std::make_unique<Processor>(config_->getProcessor(transform));
    });
  }

  std::string spaceOfFile(const std::string& file) const override {
    return guarded([&]() -> std::string {
      if (config_->filepathOnlyMatchesDefaultRule(file.c_str())) return {};
      return config_->getColorSpaceFromFilepath(file.c_str());
    });
  }

  std::unique_ptr<host::ColorProcessor> toRec709(const std::string& space) const override {
    return guarded([&] {
      return std::make_unique<Processor>(config_->getProcessor(inputTransform(*config_, space.c_str())));
    });
  }

 private:
  static std::string nameOf(const char* display, const char* view) {
    return std::string(display) + " - " + view;
  }
  template <class Use>
  void each(Use use) const {
    for (int i = 0; i < config_->getNumDisplays(); ++i) {
      const char* display = config_->getDisplay(i);
      for (int j = 0; j < config_->getNumViews(display); ++j)
        use(display, config_->getView(display, j));
    }
  }

  ocio::ConstConfigRcPtr config_;
};

class Library final : public host::ColorLibrary {
 public:
  std::unique_ptr<host::ColorProcessor> acesSdr() const override {
    return guarded([] {
      const ocio::GroupTransformRcPtr group = toAces();
      append(*group, "ACES-OUTPUT - ACES2065-1_to_CIE-XYZ-D65 - SDR-VIDEO_1.0");
      append(*group, "DISPLAY - CIE-XYZ-D65_to_sRGB");
      return std::make_unique<Processor>(ocio::Config::CreateRaw()->getProcessor(group));
    });
  }
  std::unique_ptr<host::ColorConfig> load(const std::string& file) const override {
    return guarded([&] { return std::make_unique<Config>(file); });
  }
};

} // namespace

void* lumenara_part_ocio() {
  static Library library;
  return static_cast<host::ColorLibrary*>(&library);
}
