// Site defaults: settings of the viewer that a new home starts with, from files that a studio or a packager
// writes.
//
//   {"format": "Lumenara defaults", "version": 1, "settings": {"opt.anti-aliasing": 2, "stamp.render-time":
//   0}}
//
// A setting has its readable name or its number; a value is a number (true and false count as 1 and 0), a
// text, or three numbers for a colour.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "c4d_container.h"

namespace host {

class Preferences;

struct SiteDefaults {
  BaseContainer values;
  std::map<LONG, Filename> origins; // the file of each value
  std::vector<std::string> faults;  // one line for each damaged file: file, line, what to do
};

/// The files to read, the weakest first: defaults.json below the startup path, then lumenara/defaults.json in
/// the configuration folders (config_folders.h). $LUMENARA_DEFAULTS, when it is not empty, takes the place of
/// them all.
std::vector<Filename> siteDefaultsFiles(const Filename& startupPath);

/// Adds a file's values, which replace earlier ones. An empty file, /dev/null too, has none. Of a file that
/// is not JSON nothing is used; of one with invalid entries, the others are.
void readSiteDefaults(const Filename& file, SiteDefaults& defaults);

/// All files of `siteDefaultsFiles` that exist. A missing one that $LUMENARA_DEFAULTS names is a fault.
SiteDefaults allSiteDefaults(const Filename& startupPath);

/// Gives them to preferences whose file does not exist yet, and prints the faults. Main thread.
void startWithSiteDefaults(Preferences& preferences, const Filename& startupPath);

} // namespace host
