#include "command_line.h"

#include <string_view>

#include <CLI/CLI.hpp>

#include "describe_options.h"
#include "farm_command_line.h"
#include "format_list.h"
#include "layer_table.h"
#include "link_command_line.h"
#include "nearest_word.h"
#include "option_values.h"
#include "picture_formats.h"
#include "run_options.h"
#include "shading_mode.h"

namespace batch {
namespace {

constexpr const char* footer =
    "\nExit codes: 0 done, 1 pictures too different, 2 wrong use, 3 scene or picture unreadable, 4 output "
    "not writable, 5 render failed or an "
    "asset "
    "missing\n(the picture is still saved), 6 sizes differ, 7 no partner, 8 NaN (compare --metric), 130 "
    "cancelled. The manual is docs/batch.md.";

/// Raw values of the parser.
struct RawOptions {
  RenderOptions render;
  AnimateOptions animate;
  InfoOptions info;
  SettingsOptions settings;
  CompareOptions compare;
  HistoryOptions history;
  MergeOptions merge;
  std::string failAbove, metrics, json, html, style;
  bool scale = false, center = false, corner = false;
  RawRun run;
  std::string size, region, box, part, tile, frames, layers, compression, codec;
  LONG frame = 0, format = 0, quality = 0;
};

CLI::App* addRender(CLI::App& app, RawOptions& raw) {
  CLI::App* render = app.add_subcommand("render", "Render scenes into pictures");
  addRun(*render, raw.run, raw.render);
  render->add_option("MORE", raw.render.more, "Further scenes; -o is then a folder or has {name}");
  render
      ->add_option("-o,--output", raw.render.image,
                   "Picture: " + suffixList(FormatUse::write) + " by its suffix; - for standard output (png)")
      ->type_name("IMAGE")
      ->required();
  render->add_option("--quality", raw.quality, "1 to 100, of a jpg (default 95) or a webp (default lossless)")
      ->type_name("N")
      ->check(CLI::Range(1, 100));
  render->add_option("--layers", raw.layers, "Layers of an exr: all, or some of " + host::layerNames())
      ->type_name("A,B,...");
  render->add_flag("--alpha", raw.render.alpha, "Write an alpha channel");
  addBits(*render, raw.render.bits);
  render->add_flag("--half", raw.render.half, "Colours of an exr as 16-bit floats; numbers stay 32-bit");
  render->add_option("--compression", raw.compression, "Of an exr: " + compressionNames() + " (default zip)")
      ->type_name("NAME");
  render->add_flag("--resumable", raw.render.resumable, "Keep the samples in an exr, for --resume");
  render
      ->add_option("--resume", raw.render.resume,
                   "Add samples to this exr, rendered with --resumable from the same scene")
      ->type_name("FILE")
      ->excludes("--layers");
  render
      ->add_option("--part", raw.part, "Render this of N equal parts of the samples; `merge` joins the films")
      ->type_name("K/N")
      ->excludes("--resume", "--time", "--noise");
  render
      ->add_option("--tile", raw.tile,
                   "Render this of N tiles, or of columns and rows, into an exr; `merge` joins them")
      ->type_name("K/N|K/CxR")
      ->excludes("--resume", "--resumable", "--part", "--time", "--noise");
  render->add_option("--frame", raw.frame, "Frame of the animation; default: the scene's current one")
      ->type_name("N");
  CLI::Option* region =
      render->add_option("--region", raw.region, "Render only these pixels (inclusive); the rest stays black")
          ->type_name("L,T,R,B")
          ->excludes("--tile");
  render->add_option("--region-box", raw.box, "The same, as fractions of the picture")
      ->type_name("X,Y,SIZE")
      ->excludes(region, render->get_option("--tile"));
  render->add_flag_function(
      "--lens,!--no-lens", [&raw](std::int64_t count) { raw.render.view.lens = count > 0; },
      "Bloom, glare and vignette on or off; default: as the scene says");
  render->add_option("--stats", raw.render.stats, "Write times and counts as JSON")->type_name("FILE");
  return render;
}

CLI::App* addAnimate(CLI::App& app, RawOptions& raw) {
  CLI::App* animate = app.add_subcommand("animate", "Render frames into a movie or into pictures");
  AnimateOptions& options = raw.animate;
  animate
      ->add_option("-o,--output", options.output,
                   "Movie (mov, mp4, avi), or pictures by base name or pattern (shot.tif, shot.####.exr): "
                   "bmp, tif, jpg, "
                   "psd, b3d, exr, png, webp")
      ->type_name("FILE")
      ->required();
  animate
      ->add_option("--frames", raw.frames,
                   "Frames, ranges of first, last and step, with commas between them, or all")
      ->type_name("A[:B[:STEP]],...|all")
      ->required();
  animate
      ->add_option("--format", raw.format,
                   "0 to 5 movie (4 mov, else avi), 6 bmp, 7 tif, 8 jpg, 9 psd, 10 b3d")
      ->type_name("N")
      ->check(CLI::Range(0, 10));
  animate
      ->add_option("--quality", raw.quality, "1 to 100, of jpg (default 95) and webp pictures, and of movies")
      ->type_name("N")
      ->check(CLI::Range(1, 100));
  animate
      ->add_option("--codec", raw.codec,
                   "Of a movie: " + movieCodecNames() + " (default: the stored one, in mp4 h264)")
      ->type_name("NAME");
  animate->add_flag("--alpha", options.alpha, "Write an alpha channel");
  animate->add_flag("--stamps", options.stamps, "Draw the stamps that the settings switch on");
  animate->add_flag("--overwrite", options.overwrite, "Replace an existing file without asking");
  animate->add_option("--layers", raw.layers, "Layers of an exr: all, or some of " + host::layerNames())
      ->type_name("A,B,...");
  addBits(*animate, options.bits);
  animate->add_flag("--half", options.half, "Colours of an exr as 16-bit floats; numbers stay 32-bit");
  animate->add_option("--compression", raw.compression, "Of an exr: " + compressionNames() + " (default zip)")
      ->type_name("NAME");
  animate->add_flag("--resume,--keep", options.resume,
                    "Render only the pictures that are missing or incomplete");
  animate->add_flag("--json", options.json, "Print the progress as lines of JSON");
  animate
      ->add_option("--preview", options.preview,
                   "Keep a small picture of the running render in this png or jpg")
      ->type_name("FILE");
  addRun(*animate, raw.run, options);
  return animate;
}

CLI::App* addInfo(CLI::App& app, RawOptions& raw) {
  CLI::App* info = app.add_subcommand("info", "Report the contents of a scene");
  info->add_option("SCENE", raw.info.scene, "Scene")->required();
  info->add_option("--variant", raw.info.variant, "Show this variant of the materials")->type_name("NAME");
  info->add_flag("--json", raw.info.json, "As JSON");
  return info;
}

CLI::App* addSettings(CLI::App& app, RawOptions& raw) {
  CLI::App* settings = app.add_subcommand("settings", "Show and change the stored settings");
  settings->require_subcommand(1);
  settings->fallthrough();
  settings->add_option("--home", raw.settings.home, "Folder of the settings")->type_name("DIR");

  auto add = [&](const char* name, const char* help, SettingsAction action) {
    CLI::App* sub = settings->add_subcommand(name, help);
    sub->fallthrough();
    sub->final_callback([&raw, action] { raw.settings.action = action; });
    return sub;
  };
  CLI::App* list = add("list", "All settings with their values", SettingsAction::list);
  CLI::Option* names = list->add_flag("--names", raw.settings.names, "Readable names and LM_ names alone");
  CLI::Option* origin = list->add_flag("--origin", raw.settings.origin, "Say where each value comes from");
  list->add_flag("--json", raw.settings.json, "Print JSON");
  origin->excludes(names);
  CLI::App* get = add("get", "Print one value", SettingsAction::get);
  get->add_flag("--json", raw.settings.json, "Print JSON");
  get->add_option("KEY", raw.settings.key, "Name, number or LM_ name")->required();
  CLI::App* set = add("set", "Store one value", SettingsAction::set);
  set->add_option("KEY", raw.settings.key, "Name, number or LM_ name")->required();
  set->add_option("VALUE", raw.settings.value, "A number, a text, or r,g,b for a colour")->required();
  add("preset", "Store the optimizations of a preset", SettingsAction::preset)
      ->add_option("NAME", raw.settings.preset, "draft, look or final")
      ->required()
      ->check(CLI::IsMember({"draft", "look", "final"}));
  add("reset", "Return to the defaults at the next start", SettingsAction::reset);
  return settings;
}

CLI::App* addCompare(CLI::App& app, RawOptions& raw) {
  CLI::App* compare =
      app.add_subcommand("compare", "Compose two pictures into one, or measure their difference");
  CompareOptions& options = raw.compare;
  compare->add_option("A", options.a, "Picture: " + suffixList(FormatUse::read) + "; or a folder")
      ->required();
  compare->add_option("B", options.b, "The other picture or folder")->required();
  compare
      ->add_option("-o,--output", options.image,
                   "Picture: " + suffixList(FormatUse::write) + " by its suffix; - for standard output (png)")
      ->type_name("IMAGE");
  compare->add_option("--style", raw.style, "columns, rows, blend (the default), difference")
      ->type_name("STYLE");
  compare->add_option("--slider", options.slider, "From A only (-1) to B only (1); default 0")
      ->type_name("S")
      ->check(CLI::Range(-1.0, 1.0));
  compare->add_option("--size", raw.size, "Size in pixels; default: that of A")->type_name("WxH");
  CLI::Option* scale = compare->add_flag("--scale", raw.scale, "Stretch both to the size (the default)");
  CLI::Option* center = compare->add_flag("--center", raw.center, "Keep their sizes, centred");
  CLI::Option* corner = compare->add_flag("--corner", raw.corner, "Keep their sizes, at the upper left");
  scale->excludes(center)->excludes(corner);
  center->excludes(corner);
  compare->add_flag("--stats", options.stats, "Print their difference as JSON");
  compare
      ->add_option("--fail-above", raw.failAbove,
                   "Exit with 1 when the mean difference is above this value; with --metric, when the first "
                   "metric or a named one (flip=0.05,psnr=40) is worse")
      ->type_name("X");
  compare
      ->add_option("--metric", raw.metrics,
                   "Measure by these, of two pictures or two folders: flip, psnr, ssim, rmse")
      ->type_name("LIST");
  compare->add_option("--json", raw.json, "Write the measurements as JSON")->type_name("FILE");
  compare->add_option("--html", raw.html, "Write them as a web page with heat maps")->type_name("FILE");
  compare->add_option("--home", options.home, "Folder of the settings")->type_name("DIR");
  compare->add_flag("--quiet", options.quiet, "Print nothing but problems");
  return compare;
}

CLI::App* addHistory(CLI::App& app, RawOptions& raw) {
  CLI::App* history = app.add_subcommand("history", "Show and change the viewer's history of pictures");
  history->require_subcommand(1);
  history->fallthrough();
  history->add_option("--home", raw.history.home, "Folder of the settings")->type_name("DIR");

  auto add = [&](const char* name, const char* help, HistoryAction action) {
    CLI::App* sub = history->add_subcommand(name, help);
    sub->fallthrough();
    sub->final_callback([&raw, action] { raw.history.action = action; });
    return sub;
  };
  add("list", "Its pictures with their times, oldest first", HistoryAction::list)
      ->add_flag("--json", raw.history.json, "Print JSON");
  add("add", "Add a picture; the oldest go when there are too many", HistoryAction::add)
      ->add_option("FILE", raw.history.file, "Picture")
      ->required();
  add("clear", "Delete all its pictures", HistoryAction::clear);
  add("path", "Print its folder", HistoryAction::path);
  return history;
}

CLI::App* addMerge(CLI::App& app, RawOptions& raw) {
  CLI::App* merge = app.add_subcommand("merge", "Merge films of parts of a picture's samples, or its tiles");
  MergeOptions& options = raw.merge;
  merge->add_option("FILM", options.films, "Films that `render --part` or `--tile` made (exr), in any order")
      ->required();
  merge
      ->add_option("-o,--output", options.image,
                   "Picture: " + suffixList(FormatUse::write) + " by its suffix; - for standard output (png)")
      ->type_name("IMAGE")
      ->required();
  CLI::Option* look =
      merge->add_option("--scene", options.scene, "Show the light as this scene does: its view and lens")
          ->type_name("SCENE");
  merge->add_option("--view", options.view.view, "Show the light through this view")
      ->type_name("NAME")
      ->needs(look);
  merge->add_option("--exposure", options.view.exposure, "Brighten by so many stops")
      ->type_name("STOPS")
      ->check(CLI::Range(-20.0, 20.0))
      ->needs(look);
  merge->add_option("--quality", raw.quality, "1 to 100, of a jpg (default 95) or a webp (default lossless)")
      ->type_name("N")
      ->check(CLI::Range(1, 100));
  addBits(*merge, options.bits);
  merge->add_flag("--half", options.half, "Colours of an exr as 16-bit floats; numbers stay 32-bit");
  merge->add_option("--compression", raw.compression, "Of an exr: " + compressionNames() + " (default zip)")
      ->type_name("NAME");
  merge->add_flag("--resumable", options.resumable, "Keep the samples in an exr");
  merge->add_option("--threads", options.threads, "Processors to use; default: all")
      ->type_name("N")
      ->check(CLI::Range(1, 1024));
  merge->add_option("--home", options.home, "Folder of the settings")->type_name("DIR");
  merge->add_flag("--quiet", options.quiet, "Print errors only");
  return merge;
}

MergeOptions finishMerge(const CLI::App& command, RawOptions& raw) {
  if (command.count("--quality")) raw.merge.quality = raw.quality;
  if (command.count("--compression")) raw.merge.compression = parseCompression(raw.compression);
  return std::move(raw.merge);
}

MeasureOptions finishMeasure(const CLI::App& command, RawOptions& raw) {
  for (const char* option :
       {"--output", "--style", "--slider", "--size", "--scale", "--center", "--corner", "--stats"})
    if (command.count(option))
      throw wrong(std::string(option) + " belongs to composing, not to --metric; leave one of them out");
  MeasureOptions options;
  options.a = raw.compare.a;
  options.b = raw.compare.b;
  options.metrics = parseMetrics(command.count("--metric") ? raw.metrics : "flip,psnr,ssim,rmse");
  if (command.count("--fail-above")) options.limits = parseLimits(raw.failAbove, options.metrics);
  options.json = raw.json;
  options.html = raw.html;
  options.home = raw.compare.home;
  options.quiet = raw.compare.quiet;
  return options;
}

CommandLine finishCompare(const CLI::App& command, RawOptions& raw) {
  if (command.count("--metric") || command.count("--json") || command.count("--html"))
    return finishMeasure(command, raw);
  CompareOptions& options = raw.compare;
  if (command.count("--style")) options.style = parseStyle(raw.style);
  if (command.count("--size")) options.size = parseSize(raw.size);
  if (command.count("--fail-above")) options.failAbove = parseDifference(raw.failAbove);
  if (raw.center) options.placement = ComparePlacement::center;
  if (raw.corner) options.placement = ComparePlacement::corner;
  if (options.image.empty() && !options.stats && !options.failAbove)
    throw wrong("there is nothing to do; add -o IMAGE, --stats, --metric or --fail-above");
  if (options.stats && options.image.starts_with("-"))
    throw wrong("--stats and -o - both write to standard output; name a file for the picture");
  return std::move(options);
}

AnimateOptions finishAnimate(const CLI::App& command, RawOptions& raw) {
  AnimateOptions& options = raw.animate;
  finishRun(command, raw.run, options);
  options.frames = parseFrames(raw.frames);
  if (command.count("--layers")) options.layers = parseLayers(raw.layers);
  if (command.count("--compression")) options.compression = parseCompression(raw.compression);
  if (command.count("--format")) options.format = raw.format;
  if (command.count("--codec")) options.codec = parseMovieCodec(raw.codec);
  if (command.count("--quality")) options.quality = raw.quality;
  return std::move(options);
}

RenderOptions finishRender(const CLI::App& app, RawOptions& raw) {
  RenderOptions& options = raw.render;
  finishRun(app, raw.run, options);
  if (app.count("--region")) options.region = parseRegion(raw.region);
  if (app.count("--region-box")) options.box = parseBox(raw.box);
  if (app.count("--frame")) options.frame = raw.frame;
  if (app.count("--tile")) options.tile = parseTile(raw.tile);
  if (app.count("--part")) options.part = parsePart(raw.part);
  if (app.count("--quality")) options.quality = raw.quality;
  if (app.count("--layers")) options.layers = parseLayers(raw.layers);
  if (app.count("--compression")) options.compression = parseCompression(raw.compression);
  if (!options.more.empty() && (!options.resume.empty() || options.image.starts_with("-")))
    throw wrong("--resume and -o - take one scene; render the others on their own");
  return std::move(options);
}

/// Arguments in the parser's order, last first. A value that starts with a minus sign, as in
/// `settings set KEY -1` and `render --exposure -1`, is kept from being parsed as an option.
std::vector<std::string> arguments(int argc, const char* const* argv) {
  std::vector<std::string> list(argv + 1, argv + argc);
  const bool sets = list.size() >= 4 && list[0] == "settings" && list[1] == "set";
  if (sets && list[3].size() > 1 && list[3][0] == '-' &&
      std::isdigit(static_cast<unsigned char>(list[3][1]))) {
    std::string value = list[3];
    list.erase(list.begin() + 3);
    list.push_back("--");
    list.push_back(std::move(value));
  }
  for (std::size_t i = 1; i + 1 < list.size(); ++i) {
    const bool signedOption =
        list[0] == "compare"
            ? list[i] == "--slider" || list[i] == "--fail-above"
            : (list[0] == "render" || list[0] == "farm" || list[0] == "merge") && list[i] == "--exposure";
    if (!signedOption) continue;
    list[i] += "=" + list[i + 1];
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(i) + 1);
  }
  return {list.rbegin(), list.rend()};
}

} // namespace

CommandLine parseCommandLine(int argc, const char* const* argv) {
  CLI::App app("Lumenara renders scenes from the command line.", "lumenara");
  app.footer(footer);
  app.require_subcommand(1);
  app.set_version_flag("--version", "lumenara " LUMENARA_VERSION);
  RawOptions raw;
  CLI::App* render = addRender(app, raw);
  CLI::App* animate = addAnimate(app, raw);
  CLI::App* info = addInfo(app, raw);
  addSettings(app, raw);
  CLI::App* compare = addCompare(app, raw);
  CLI::App* history = addHistory(app, raw);
  CLI::App* merge = addMerge(app, raw);
  FarmCommandLine farm(app);
  const LinkCommandLine link(app);
  addDescription(app);

  try {
    app.parse(arguments(argc, argv));
    if (render->parsed()) return finishRender(*render, raw);
    if (animate->parsed()) return finishAnimate(*animate, raw);
    if (compare->parsed()) return finishCompare(*compare, raw);
    if (auto options = farm.finish()) return *std::move(options);
    if (auto options = link.finish()) return *std::move(options);
    if (merge->parsed()) return finishMerge(*merge, raw);
  } catch (const CLI::CallForHelp&) {
    return ShowText{app.help()};
  } catch (const CLI::CallForAllHelp&) {
    return ShowText{app.help("", CLI::AppFormatMode::All)};
  } catch (const CLI::CallForVersion& version) {
    return ShowText{std::string(version.what()) + "\n"};
  } catch (const CLI::ParseError& error) {
    const std::vector<std::string> typed(argv + 1, argv + argc);
    const std::string unknown = mistyped(app, typed);
    throw wrong((unknown.empty() ? error.what() : unknown) + "; `lumenara --help` shows what there is");
  }
  if (info->parsed()) return raw.info;
  if (history->parsed()) return raw.history;
  return raw.settings;
}

} // namespace batch
