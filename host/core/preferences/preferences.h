// The program's preferences: containers under numbers (world plug-in data) and names (the program's own), in
// one file that is replaced whole. Several programs may use one file: a write first takes in what others have
// written. Main thread.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "c4d_container.h"

namespace host {

class Preferences {
 public:
  /// Reads the file, when it is there. A file that is no preferences file is moved aside as ".damaged". Of
  /// one with damaged entries a copy is kept under that name and every other entry is used. A line on the
  /// console tells either.
  explicit Preferences(const Filename& file);
  ~Preferences();
  Preferences(const Preferences&) = delete;
  Preferences& operator=(const Preferences&) = delete;

  /// Stores a container; it is on disk when this returns true. With `add` its entries go into what the disk
  /// holds under this number, else they replace it. Entries added with the
  /// value that they had before another program changed them are no change, unless the container was asked
  /// for since: who stores all that it has does not undo what it has not seen. False when the file cannot be
  /// written: one line on the console, the value stays in memory and goes to the disk with the next write
  /// that works.
  bool set(LONG id, const BaseContainer& data, bool add);
  /// The container under a number; null when nothing is stored. The pointer stays valid.
  BaseContainer* get(LONG id);

  bool setNamed(const std::string& name, const BaseContainer& data, bool add = false);
  const BaseContainer* getNamed(const std::string& name) const;

  /// Writes what is not on disk yet (also changes made in place). True when nothing was left to write.
  bool flush();

  const Filename& file() const noexcept { return file_; }
  /// How often the file was written. For tests of "nothing changed, nothing written".
  int writeCount() const noexcept { return writes_; }

 private:
  struct Slot {
    BaseContainer live;     // what callers see
    BaseContainer base;     // what was on disk when last read or written
    BaseContainer outdated; // entries that other programs have changed, as they were before
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
  bool damaged_ = false; // entries of the file that was read last were left out
};

/// The running program's; null without one.
Preferences* preferences() noexcept;

} // namespace host
