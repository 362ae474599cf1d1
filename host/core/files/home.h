// The program's home: the folder of its settings and of the user's plug-ins, whose code it runs. So nobody
// else may be able to write there. Main thread.
#pragma once

#include <optional>
#include <string>

#include "c4d_filename.h"
#include "platform.h"

namespace host {

class Home {
 public:
  /// Takes the wanted folder, else LUMENARA_HOME, else the user's data folder, and makes it. Without one, or
  /// when others can write to it, a fresh temporary folder for this user alone serves instead, until the
  /// object goes; a line on the console says why. Temporary homes of programs that were killed are removed.
  explicit Home(const Filename& wanted);
  Home(const Home&) = delete;
  Home& operator=(const Home&) = delete;

  const Filename& folder() const noexcept { return folder_; }
  /// False for the temporary folder: nothing in it outlives the program, and it holds no plug-ins.
  bool isKept() const noexcept { return kept_; }

  /// Why a plug-in's module in this home must not run, as a clause; empty when it may. Looks at the module
  /// and at the folders above it, up to the home.
  std::string whyUnsafe(const Filename& module) const;

 private:
  void useTemporary(const String& why);

  Filename folder_;
  std::optional<platform::PrivateFolder> temporary_;
  bool kept_ = true;
};

} // namespace host
