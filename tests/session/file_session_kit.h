// A session that opens and saves scenes, with scripted answers to its questions.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "file_path.h"
#include "scene_file.h"
#include "session_fixture.h"

/// An environment variable for the lifetime of this object.
class EnvironmentValue {
 public:
  EnvironmentValue(const char* name, const char* value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    set(value);
  }
  ~EnvironmentValue() { set(before_ ? before_->c_str() : nullptr); }
  EnvironmentValue(const EnvironmentValue&) = delete;
  EnvironmentValue& operator=(const EnvironmentValue&) = delete;

 private:
  void set(const char* value) const { value ? setenv(name_, value, 1) : unsetenv(name_); }
  const char* name_;
  std::optional<std::string> before_;
};

class FileSessionTest : public SessionFixture {
 protected:
  FileSessionTest() {
    using namespace host;
    FileQuestions questions;
    questions.unsaved = [this](const String& title, const std::vector<std::string>& changes) {
      unsavedAsked.push_back(title.GetUTF8());
      changesAsked = changes;
      return unsavedAnswer;
    };
    questions.reload = [this](const String&) {
      ++reloadAsked;
      return reloadAnswer;
    };
    questions.chooseSave = [this](Filename& name) {
      proposals.push_back(name.GetString().GetUTF8());
      if (!saveTo.Content()) return false;
      name = saveTo;
      return true;
    };
    questions.failed = [this](const FileError& error) { errors.push_back(error); };
    files().setQuestions(std::move(questions));
  }

  host::FileSession& files() { return session->files(); }
  // Writes a scene of another program: the small scene after `change`.
  Filename write(const char* name, const std::function<void(BaseDocument&)>& change = {}) {
    const host::DocumentPtr scene = SessionFixture::scene();
    if (change) change(*scene);
    const Filename file = folder / name;
    std::string error;
    EXPECT_TRUE(host::saveDocument(*scene, file, &error)) << error;
    age(file);
    return file;
  }
  // Makes a file look as if it had been written some time ago: then nobody is writing it.
  static void age(const Filename& file, int seconds = 10) {
    std::error_code error;
    std::filesystem::last_write_time(
        host::toPath(file), std::filesystem::file_time_type::clock::now() - std::chrono::seconds(seconds),
        error);
    ASSERT_FALSE(error) << error.message();
  }
  void open(const Filename& file) {
    EXPECT_TRUE(files().open(file));
    files().finish();
    runAll();
  }
  // Lets the watch look often enough to notice, and the load end.
  void watchIt() {
    for (int i = 0; i < 3; ++i)
      advance(host::FileSession::watchPeriod, host::FileSession::watchPeriod);
    files().finish();
    runAll();
  }
  void edit(const char* name = "edited") {
    edits().apply("Rename", [&](BaseDocument& d) { host::renameNode(d, id("lamp"), name); });
  }

  std::vector<std::string> unsavedAsked, changesAsked, proposals;
  host::UnsavedAnswer unsavedAnswer = host::UnsavedAnswer::cancel;
  int reloadAsked = 0;
  bool reloadAnswer = false;
  Filename saveTo;
  std::vector<host::FileError> errors;
};
