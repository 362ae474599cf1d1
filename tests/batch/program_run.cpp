#include "program_run.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace batchtest {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

constexpr unsigned nobody = 65534;
constexpr auto pollPeriod = std::chrono::milliseconds(5);

void limit(int what, std::size_t value) {
  if (value == 0) return;
  const rlimit limits{value, value};
  setrlimit(static_cast<__rlimit_resource>(what), &limits);
}

int openPseudoTerminal(std::string& slave) {
  const int master = posix_openpt(O_RDWR | O_NOCTTY);
  if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0)
    throw std::runtime_error("no pseudo terminal");
  slave = ptsname(master);
  fcntl(master, F_SETFL, O_NONBLOCK);
  fcntl(master, F_SETFD, FD_CLOEXEC);
  return master;
}

} // namespace

TempFolder::TempFolder() {
  std::string pattern = (fs::temp_directory_path() / "lumenara-test-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
  path_ = pattern;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

Child::Child(const Arguments& arguments, const std::string& home, Limits limits, bool terminal) {
  std::vector<std::string> words{LUMENARA_BIN};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& word : words)
    argv.push_back(word.data());
  argv.push_back(nullptr);

  const std::string out = files_ / "out";
  std::string err = files_ / "err";
  if (terminal) terminal_ = openPseudoTerminal(err);
  process_ = fork();
  if (process_ < 0) throw std::runtime_error("no process");
  if (process_ > 0) return;

  // The child: only calls that are safe after a fork.
  const int outFile = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  const int errFile = open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOCTTY, 0600);
  const int inFile = open(terminal ? err.c_str() : "/dev/null", O_RDONLY | O_NOCTTY);
  dup2(inFile, 0);
  dup2(outFile, 1);
  dup2(errFile, 2);
  setenv("LUMENARA_HOME", home.c_str(), 1);
  limit(RLIMIT_FSIZE, limits.fileSize);
  limit(RLIMIT_AS, limits.memory);
  if (limits.unprivileged && geteuid() == 0 && (setgid(nobody) != 0 || setuid(nobody) != 0)) _exit(126);
  signal(SIGINT, SIG_DFL);
  execv(argv[0], argv.data());
  _exit(127);
}

Child::~Child() {
  if (!ended()) {
    kill(process_, SIGKILL);
    waitpid(process_, &status_, 0);
  }
  if (terminal_ >= 0) close(terminal_);
}

void Child::send(int signal) const {
  if (!ended_) kill(process_, signal);
}

void Child::type(const std::string& text) const {
  if (write(terminal_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
    throw std::runtime_error("cannot type");
}

bool Child::ended() {
  if (!ended_) ended_ = waitpid(process_, &status_, WNOHANG) == process_;
  return ended_;
}

void Child::drain() {
  if (terminal_ < 0) return;
  char bytes[4096];
  for (ssize_t count = read(terminal_, bytes, sizeof bytes); count > 0;
       count = read(terminal_, bytes, sizeof bytes)) {
    terminalText_.append(bytes, static_cast<std::size_t>(count));
  }
}

std::string Child::errors() {
  drain();
  return terminal_ >= 0 ? terminalText_ : readFile(files_.path() / "err");
}

bool Child::waitForError(const std::string& text, std::chrono::seconds limit) {
  const auto deadline = Clock::now() + limit;
  while (errors().find(text) == std::string::npos) {
    if (ended() || Clock::now() > deadline) return errors().find(text) != std::string::npos;
    std::this_thread::sleep_for(pollPeriod);
  }
  return true;
}

Outcome Child::wait(std::chrono::seconds limit) {
  const auto deadline = Clock::now() + limit;
  while (!ended()) {
    drain();
    if (Clock::now() > deadline) {
      kill(process_, SIGKILL);
      ended_ = waitpid(process_, &status_, 0) == process_;
      break;
    }
    std::this_thread::sleep_for(pollPeriod);
  }
  Outcome outcome;
  if (WIFEXITED(status_)) outcome.code = WEXITSTATUS(status_);
  if (WIFSIGNALED(status_)) outcome.signal = WTERMSIG(status_);
  outcome.out = readFile(files_.path() / "out");
  outcome.err = errors();
  return outcome;
}

Outcome run(const Arguments& arguments, const std::string& home, Limits limits) {
  return Child(arguments, home, limits).wait();
}

std::string readFile(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void writeFile(const fs::path& file, const std::string& bytes) {
  std::ofstream out(file, std::ios::binary);
  out << bytes;
  if (!out.flush()) throw std::runtime_error("cannot write " + file.string());
}

int linesWith(const std::string& text, const std::string& part) {
  std::istringstream in(text);
  int count = 0;
  for (std::string line; std::getline(in, line);)
    count += line.find(part) != std::string::npos;
  return count;
}

int lineCount(const std::string& text) {
  return linesWith(text, "");
}

} // namespace batchtest
