// Plug-ins: entry points of a module, registration, stored data, resources. Main thread.
#pragma once

#include "c4d_bitmap.h"
#include "c4d_container.h"
#include "c4d_document.h"
#include "c4d_render.h"

// A module exports these three. `PluginMessage` gets C4DPL_INIT_SYS first; false unloads the module.
extern "C" {
C4D_API Bool PluginStart();
C4D_API void PluginEnd();
C4D_API Bool PluginMessage(LONG id, void* data);
}
inline constexpr LONG C4DPL_INIT_SYS = 1;

// States of a command, bits: it can be used; it has a check mark.
inline constexpr LONG CMD_ENABLED = 0x40000000;
inline constexpr LONG CMD_VALUE = 0x20000000;
/// In a registration's `info`: the command is left out of the plug-ins menu.
inline constexpr LONG PLUGINFLAG_HIDEPLUGINMENU = 0x20000000;

/// Base of the objects that registration hands over. The host destroys them at shutdown, in the reverse order
/// of registration.
class C4D_API BaseData {
 public:
  BaseData() = default;
  virtual ~BaseData();
  BaseData(const BaseData&) = delete;
  BaseData& operator=(const BaseData&) = delete;
};

class C4D_API CommandData : public BaseData {
 public:
  CommandData() = default;
  ~CommandData() override;
  virtual Bool Execute(BaseDocument* document);
  /// CMD_... bits.
  virtual LONG GetState(BaseDocument* document);
  /// Brings a dialog back at start-up; `secret` is the host's.
  virtual Bool RestoreLayout(void* secret);
};

/// Data of a node that a plug-in defines, one instance for each node.
class C4D_API NodeData : public BaseData {
 public:
  NodeData() = default;
  ~NodeData() override;
};
using DataAllocator = NodeData*();

class C4D_API VideoPostData : public NodeData {
 public:
  VideoPostData() = default;
  ~VideoPostData() override;
  /// Called on render threads, opened and closed in nested order, one call at a time.
  virtual RENDERRESULT Execute(BaseVideoPost* node, VideoPostStruct* vps);
};

/// False when the ID is 0 or taken: the object stays the caller's then. The host copies the icon.
C4D_API Bool RegisterCommandPlugin(LONG id, const String& name, LONG info, BaseBitmap* icon,
                                   const String& help, CommandData* data);
C4D_API Bool RegisterVideoPostPlugin(LONG id, const String& name, LONG info, DataAllocator* allocator,
                                     const String& description, LONG diskLevel, LONG priority);

/// Stores a plug-in's data in the preferences; on disk when the call returns. With `add` the entries are
/// merged into the stored ones, else they replace them.
C4D_API Bool SetWorldPluginData(LONG id, const BaseContainer& data, Bool add = TRUE);
/// Null when nothing is stored. The pointer stays valid for its ID until the host ends.
C4D_API BaseContainer* GetWorldPluginData(LONG id);

/// A plug-in's dialog descriptions and texts.
class C4D_API GeResource {
 public:
  GeResource();
  ~GeResource();
  GeResource(const GeResource&) = delete;
  GeResource& operator=(const GeResource&) = delete;
  /// Opens the resource folder. False when the folder or a file in it cannot be read.
  Bool Init(const Filename& folder);
  const Filename& GetFolder() const noexcept { return folder_; }

 private:
  Filename folder_;
};
