// lumenara: renders scenes and animations, reports their contents, compares pictures, and manages the
// plug-in's settings and history.
#include <cstdio>
#include <exception>
#include <new>

#include "commands.h"
#include "interrupt.h"
#include "platform.h"

namespace batch {
namespace {

ExitCode run(const CommandLine& line) {
  if (const auto* text = std::get_if<ShowText>(&line)) {
    std::fputs(text->text.c_str(), stdout);
    return ExitCode::done;
  }
  if (const auto* render = std::get_if<RenderOptions>(&line)) return runRender(*render);
  if (const auto* animate = std::get_if<AnimateOptions>(&line)) return runAnimate(*animate);
  if (const auto* info = std::get_if<InfoOptions>(&line)) return runInfo(*info);
  if (const auto* compare = std::get_if<CompareOptions>(&line)) return runCompare(*compare);
  if (const auto* measure = std::get_if<MeasureOptions>(&line)) return runMeasure(*measure);
  if (const auto* merge = std::get_if<MergeOptions>(&line)) return runMerge(*merge);
  if (const auto* submit = std::get_if<FarmSubmitOptions>(&line)) return runFarmSubmit(*submit);
  if (const auto* job = std::get_if<FarmJobOptions>(&line)) return runFarmJob(*job);
  if (const auto* work = std::get_if<FarmWorkOptions>(&line)) return runFarmWork(*work);
  if (const auto* send = std::get_if<SendOptions>(&line)) return runSend(*send);
  if (const auto* grab = std::get_if<GrabOptions>(&line)) return runGrab(*grab);
  if (const auto* history = std::get_if<HistoryOptions>(&line)) return runHistory(*history);
  return runSettings(std::get<SettingsOptions>(line));
}

ExitCode fail(ExitCode code, const char* sentence) {
  std::fprintf(stderr, "lumenara: %s\n", sentence);
  return code;
}

} // namespace
} // namespace batch

int main(int argc, char** argv) {
  using namespace batch;
  ExitCode code = ExitCode::done;
  try {
    host::platform::prepareProcess();
    catchInterrupts();
    code = run(parseCommandLine(argc, argv));
  } catch (const Stop& stop) {
    code = fail(stop.code(), stop.what());
  } catch (const std::bad_alloc&) {
    code = fail(ExitCode::renderFailed,
                "there is not enough memory; close other programs or make the picture smaller");
  } catch (const std::exception& error) {
    code = fail(ExitCode::renderFailed, error.what());
  }
  return static_cast<int>(code);
}
