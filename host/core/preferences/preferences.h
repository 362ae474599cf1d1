// The program's preferences: containers under numbers (world plug-in data) and names (the program's own), in
// one file that is replaced whole. Main thread.
//
// Several programs may use one file. Every write first reads the file again, under a lock. Who wins, entry by
// entry:
// - An entry that this program has changed replaces the value in the file.
// - An entry that this program stores with its former value loses to another program's change.
// - After `get`, the program knows all values of the container, so whatever it stores next wins.
// Storing a whole container without `add` replaces all its entries.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "c4d_container.h"

namespace host {

class Preferences {
 public:
  /// Reads the file if it exists. A file that is not a preferences file is renamed to end in ".damaged". A
  /// file with damaged entries is copied to that name, and its other entries are used. The console gets a
  /// line in both cases.
  explicit Preferences(const Filename& file);
  ~Preferences();
  Preferences(const Preferences&) = delete;
  Preferences& operator=(const Preferences&) = delete;

  /// Stores a container; with `add` its entries are merged into the stored ones, else they replace them.
  /// True: it is on disk. False: the file cannot be written, a line on the console says why, and the value
  /// stays in memory until a later write succeeds.
  bool set(LONG id, const BaseContainer& data, bool add);
  /// The container under a number, with the values of other programs as last read; null when nothing is
  /// stored. The pointer stays valid.
  BaseContainer* get(LONG id);

  bool setNamed(const std::string& name, const BaseContainer& data, bool add = false);
  const BaseContainer* getNamed(const std::string& name) const;

  /// Writes the changes that are not on disk yet, also those made in place. True when all are on disk.
  bool flush();

  /// Whether the file did not exist at the start.
  bool isNew() const noexcept { return new_; }
  /// Values that new preferences start with, as if they stood in the file: the next write brings them there.
  void presume(LONG id, const BaseContainer& data);

  const Filename& file() const noexcept { return file_; }
  /// The number of times the file was written, for tests.
  int writeCount() const noexcept { return writes_; }

 private:
  struct Slot {
    BaseContainer live;     // the values that callers see
    BaseContainer base;     // the values on disk when last read or written
    BaseContainer outdated; // the former values of entries that other programs have changed
    bool stored = false, onDisk = false;
  };
  using Slots = std::map<std::string, std::unique_ptr<Slot>>;
  using Contents = std::map<std::string, BaseContainer>;

  bool store(const std::string& key, const BaseContainer& data, bool add);
  bool readDisk(Contents& contents);
  bool write(const Contents& contents);
  void adopt(const Contents& contents);
  void noteOutdated(const Contents& disk);
  void putEntries(const std::string& key, const BaseContainer& data, BaseContainer& target);
  Contents merged(const Contents& disk) const;
  void setAside(const std::string& reason);
  void keepCopy(LONG entries);
  bool complain(const std::string& reason);
  Slot& slot(const std::string& key);

  Filename file_;
  Slots slots_;
  std::optional<std::string> lastText_; // the file's text when last read or written
  int writes_ = 0;
  bool complained_ = false;
  bool new_ = false;
  bool damaged_ = false; // entries of the file that was read last were left out
};

/// The preferences of the running program; null without one.
Preferences* preferences() noexcept;

} // namespace host
