// The program's commands. Each returns the exit code or throws `Stop`.
#pragma once

#include "command_line.h"

namespace batch {

ExitCode runRender(const RenderOptions& options);
ExitCode runAnimate(const AnimateOptions& options);
ExitCode runInfo(const InfoOptions& options);
ExitCode runSettings(const SettingsOptions& options);
ExitCode runCompare(const CompareOptions& options);
ExitCode runMeasure(const MeasureOptions& options);
ExitCode runMerge(const MergeOptions& options);
ExitCode runFarmSubmit(const FarmSubmitOptions& options);
ExitCode runFarmJob(const FarmJobOptions& options);
ExitCode runFarmWork(const FarmWorkOptions& options);
ExitCode runSend(const SendOptions& options);
ExitCode runGrab(const GrabOptions& options);
ExitCode runHistory(const HistoryOptions& options);

} // namespace batch
