// The program's home: the folder of its settings and of the user's plug-ins. No other user may be able to
// write there, because the program runs the plug-ins' code. Main thread.
#pragma once

#include <optional>
#include <string>

#include "c4d_filename.h"
#include "platform.h"

namespace host {

class Home {
 public:
  /// Takes the wanted folder, else LUMENARA_HOME, else the user's data folder, and makes it. Without one, or
  /// when others can write to it, a fresh temporary folder of this user serves instead while the object
  /// lives; a line on the console says why. Temporary homes of killed programs are removed.
  explicit Home(const Filename& wanted);
  Home(const Home&) = delete;
  Home& operator=(const Home&) = delete;

  const Filename& folder() const noexcept { return folder_; }
  /// False for the temporary folder: it does not outlive the program, and no plug-ins are loaded from it.
  bool isKept() const noexcept { return kept_; }

  /// The reason why a plug-in's module in this home must not run, as a clause; empty when it may. Checks the
  /// module and the folders above it, up to the home.
  std::string whyUnsafe(const Filename& module) const;

 private:
  void useTemporary(const String& why);

  Filename folder_;
  std::optional<platform::PrivateFolder> temporary_;
  bool kept_ = true;
};

} // namespace host
