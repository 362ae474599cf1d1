#include "studio_arguments.h"

#include <CLI/CLI.hpp>

#include "describe_options.h"

StudioArguments parseStudioArguments(int argc, const char* const* argv) {
  StudioArguments given;
  CLI::App app("Lumenara Studio: a scene editor for glTF with an interactive render viewer.",
               "lumenara-studio");
  app.add_option("SCENE", given.scene, "A scene to open: glTF, OBJ, FBX, PLY, STL or DAE");
  app.add_flag("--viewer", given.viewer, "Open the Lumenara viewer and render the scene in it");
  app.add_flag("--reset-layout", given.resetLayout, "Start with the default layout of windows and dialogs");
  bool listens = true;
  const CLI::Option* listen =
      app.add_flag("--listen,!--no-listen", listens,
                   "Take scenes that other programs send through the live link, or do not, this time "
                   "(default: as chosen in File > Live Link)");
  int port = 0;
  const CLI::Option* tcp =
      app.add_flag("--listen-tcp{0}", port,
                   "Let the live link listen at this port of 127.0.0.1 as well, with a token (0: any port)")
          ->type_name("[=PORT]")
          ->check(CLI::Range(0, 65535));
  app.add_option("--home", given.home,
                 "Folder for settings and plug-ins (default: LUMENARA_HOME, else the user's data folder)")
      ->type_name("DIR");
  app.set_version_flag("--version", "lumenara-studio " LUMENARA_VERSION);
  addDescription(app);
  try {
    app.parse(argc, argv);
    if (listen->count() > 0) given.listen = listens;
    if (tcp->count() > 0) given.tcpPort = port;
    if (given.tcpPort && given.listen == false)
      throw CLI::ValidationError("--listen-tcp and --no-listen exclude each other");
  } catch (const CLI::CallForHelp&) {
    given.leave = {app.help(), 0};
  } catch (const CLI::CallForVersion& version) {
    given.leave = {std::string(version.what()) + "\n", 0};
  } catch (const CLI::ParseError& error) {
    given.leave = {
        std::string("lumenara-studio: ") + error.what() + "\nlumenara-studio --help lists the options.\n", 2};
  }
  return given;
}
