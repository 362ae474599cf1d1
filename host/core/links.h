// The way from values of the core to nodes, which belong to host/scene.
#pragma once

#include "c4d_container.h"

namespace host {

struct LinkHooks {
  /// The node's identity. Never called with null.
  ULLONG (*identityOf)(const BaseList2D* node) = nullptr;
  /// The node with this identity (never 0) in the document (null: in the active one); null when it is not
  /// there.
  BaseList2D* (*resolve)(ULLONG identity, const BaseDocument* document) = nullptr;
};

/// Installs the hooks; before that, links resolve to nothing. Once, before threads use links.
void installLinkHooks(const LinkHooks& hooks) noexcept;

} // namespace host
