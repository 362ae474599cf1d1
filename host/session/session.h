// The parts of a desktop program below its windows. One in a program, made after the Program and destroyed,
// or shut down, before it. Main thread.
#pragma once

#include "autosave.h"
#include "document_hub.h"
#include "edits.h"
#include "file_session.h"
#include "host_renders.h"
#include "material_library.h"
#include "material_previews.h"
#include "picture_list.h"
#include "picture_locator.h"
#include "picture_opener.h"
#include "picture_saver.h"
#include "playback.h"
#include "plugin_pictures.h"
#include "sky_edits.h"
#include "texture_thumbnails.h"
#include "viewer_film.h"

namespace host {

class Session {
 public:
  /// Starts with an empty document. Ends by itself when the program shuts down.
  Session();
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// The running session, or null.
  static Session* current() noexcept;

  /// The active document; null only after `shutDown`.
  BaseDocument* document() const { return hub_.document(); }
  DocumentHub& hub() noexcept { return hub_; }
  Edits& edits() noexcept { return edits_; }
  FileSession& files() noexcept { return files_; }
  Autosave& autosave() noexcept { return autosave_; }
  Playback& playback() noexcept { return playback_; }
  HostRenders& renders() noexcept { return renders_; }
  MaterialPreviews& previews() noexcept { return previews_; }
  MaterialLibrary& materialLibrary() noexcept { return materialLibrary_; }
  SkyMaker& skyMaker() noexcept { return skyMaker_; }
  PictureList& pictures() noexcept { return pictures_; }
  ViewerFilm& viewerFilm() noexcept { return viewerFilm_; }
  PictureOpener& pictureOpener() noexcept { return pictureOpener_; }
  PictureLocator& pictureLocator() noexcept { return pictureLocator_; }
  TextureThumbnails& textureThumbnails() noexcept { return textureThumbnails_; }
  PictureSaver& pictureSaver() noexcept { return pictureSaver_; }
  RenderHistory& history() noexcept { return history_; }
  PluginPictures& pluginPictures() noexcept { return pluginPictures_; }

  /// Runs a registered command as a menu does, and makes its change an edit. False when the command is
  /// unknown or disabled.
  bool runCommand(LONG id);

  /// Stops playing, renders, previews, loading and the watch, waits for saves, frees undo and the document.
  /// Once.
  void shutDown();

 private:
  DocumentHub hub_;
  Edits edits_;
  FileSession files_;
  Autosave autosave_;
  Playback playback_;
  HostRenders renders_;
  MaterialPreviews previews_;
  MaterialLibrary materialLibrary_;
  SkyMaker skyMaker_;
  PictureList pictures_;
  ViewerFilm viewerFilm_{pictures_};
  PictureOpener pictureOpener_{pictures_};
  PictureLocator pictureLocator_{edits_};
  TextureThumbnails textureThumbnails_;
  PictureSaver pictureSaver_;
  RenderHistory history_;
  PluginPictures pluginPictures_;
  Subscription renderChanged_, renderFinished_, replaced_;
  bool down_ = false;
};

} // namespace host
