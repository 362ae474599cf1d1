// The options that several commands render with, for the parser of command lines.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "option_values.h"
#include "shading_mode.h"

namespace batch {

/// Texts that become values when the line is parsed.
struct RawRun {
  std::string size;
  std::vector<std::string> sets;
};

inline std::string shadingNames() {
  std::string names;
  for (const host::render::ShadingModeInfo& info : host::render::shadingModes())
    names += (names.empty() ? "" : ", ") + std::string(info.name);
  return names;
}

/// Adds the depth of png pictures.
inline void addBits(CLI::App& command, LONG& bits) {
  command.add_option("--bits", bits, "8 or 16 bits a channel, of a png (default 8)")
      ->type_name("N")
      ->check(CLI::IsMember({8, 16}));
}

/// Adds the options that `render`, `animate` and `farm submit` share.
template <class Options>
void addRun(CLI::App& command, RawRun& raw, Options& options) {
  command.add_option("SCENE", options.scene, "Scene: glb, gltf, obj, fbx, ply, stl, dae")->required();
  command.add_option("--size", raw.size, "Size in pixels; default: the scene's")->type_name("WxH");
  command.add_option("--camera", options.camera, "Look through this camera")->type_name("NAME");
  command.add_option("--variant", options.variant, "Show this variant of the materials")->type_name("NAME");
  command
      .add_option("--set", raw.sets, "A setting for this run, by name, number or LM_ name; can be repeated")
      ->type_name("KEY=VALUE")
      ->allow_extra_args(false);
  command.add_option("--samples", options.sampling.samples, "Samples per pixel; default: the scene's")
      ->type_name("N")
      ->check(CLI::Range(1, 1000000));
  command.add_option("--time", options.sampling.seconds, "End each picture after so many seconds")
      ->type_name("SECONDS")
      ->check(CLI::Range(0.01, 1e7));
  command
      .add_option("--noise", options.sampling.noise, "End pixels at this standard error (0 to 1, as 0.01)")
      ->type_name("LEVEL")
      ->check(CLI::Range(0.0, 1.0));
  command
      .add_option("--sampling", options.sampling.spread,
                  "More samples where the picture is noisy, or the same everywhere; default: the scene's")
      ->type_name("noise|even")
      ->check(CLI::IsMember({"noise", "even"}));
  command
      .add_option("--radiance-cache", options.sampling.radianceCache,
                  "End scattered paths in light that is known; off: follow all to their ends")
      ->type_name("on|off")
      ->check(CLI::IsMember({"on", "off"}));
  command
      .add_option("--shutter", options.sampling.shutter,
                  "Blur motion: frames that the shutter is open (0.5 is 180 degrees); 0: no blur")
      ->type_name("FRAMES")
      ->check(CLI::Range(0.0, 10.0));
  command
      .add_option("--shading", options.view.shading,
                  "Show the scene in another shading: " + shadingNames() + "; default: the scene's")
      ->type_name("NAME")
      ->check([](const std::string& name) {
        return host::render::shadingModeOf(name)
                   ? ""
                   : "there is no shading \"" + name + "\"; there are " + shadingNames();
      });
  command.add_option("--view", options.view.view, "Show the light through this view; default: the scene's")
      ->type_name("NAME");
  command.add_option("--exposure", options.view.exposure, "Brighten by so many stops; default: the scene's")
      ->type_name("STOPS")
      ->check(CLI::Range(-20.0, 20.0));
  command.add_option("--threads", options.threads, "Processors to use; default: all")
      ->type_name("N")
      ->check(CLI::Range(1, 1024));
  command
      .add_flag("--denoise{end}", options.sampling.denoise,
                "Take the noise out when the last sample is done, while the picture refines as well, or not")
      ->type_name("[=end|live|off]")
      ->check(CLI::IsMember({"end", "live", "off"}));
  command.add_option("--home", options.home, "Folder of the settings")->type_name("DIR");
  command.add_flag("--quiet", options.quiet, "Print errors only");
}

/// Turns the texts into values. Throws `Stop` (wrong use).
template <class Options>
void finishRun(const CLI::App& command, const RawRun& raw, Options& options) {
  if (command.count("--size")) options.size = parseSize(raw.size);
  for (const std::string& text : raw.sets) {
    options.settings.push_back(splitSetting(text));
  }
}

} // namespace batch
