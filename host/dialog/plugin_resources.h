// The resources that plug-ins have initialised (GeResource). Main thread.
#pragma once

#include <memory>
#include <string>

#include "c4d_plugin.h"
#include "dialog_description.h"
#include "plugin_registry.h"

namespace host {

/// Reads a resource folder: its symbols, texts and descriptions, where there are any. Null with a sentence
/// that names the file (and the line) when one does not read.
std::shared_ptr<const DialogResources> readDialogResources(const Filename& folder, std::string& error);

/// What `resource` has read; with null what this plug-in's last `GeResource::Init` has. Null when there is
/// none.
std::shared_ptr<const DialogResources> dialogResources(const GeResource* resource, const PluginUnit* plugin);

} // namespace host
