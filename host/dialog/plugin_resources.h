// Resources that plug-ins have initialised (GeResource). Main thread.
#pragma once

#include <memory>
#include <string>

#include "c4d_plugin.h"
#include "dialog_description.h"
#include "plugin_registry.h"

namespace host {

/// Reads the symbols, texts and descriptions of a resource folder; each may be absent. On failure null, with
/// an error message that names the file and the line.
std::shared_ptr<const DialogResources> readDialogResources(const Filename& folder, std::string& error);

/// The contents of `resource`, or, for null, of this plug-in's last `GeResource::Init`. Null without any.
std::shared_ptr<const DialogResources> dialogResources(const GeResource* resource, const PluginUnit* plugin);

} // namespace host
