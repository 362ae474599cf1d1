// The command line of lumenara-studio.
#pragma once

#include <optional>
#include <string>

/// The scene and options to start with; or a text to print and an exit code.
struct StudioArguments {
  std::string scene, home; // empty: not given
  bool viewer = false, resetLayout = false;
  std::optional<bool> listen; // for the live link; nothing: as the user has chosen
  std::optional<int> tcpPort; // of the live link; 0: any; nothing: as the user has chosen
  struct Leave {
    std::string text;
    int code = 0;
  };
  std::optional<Leave> leave;
};

/// Unknown options and a missing scene give a sentence and the code 2.
StudioArguments parseStudioArguments(int argc, const char* const* argv);
