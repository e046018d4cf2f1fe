#include "outputs/output_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <mutex>

#include <lacewright/errors.h>

namespace lacewright_tool {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void cannot_write(const std::string& path, const std::string& why) {
  throw lacewright::output_error("cannot write '" + path + "': " + why);
}

// The temporary files that exist right now, for a signal handler to remove.
// A handler may run on any thread at any moment, so the list is only ever
// pushed onto, its entries are switched on and off atomically, and they are
// never freed: a run makes a handful.
struct temporary_entry {
  temporary_entry* next = nullptr;
  std::atomic<bool> live{false};
  char path[PATH_MAX] = {};
};
std::atomic<temporary_entry*> temporaries{nullptr};

extern "C" void remove_temporaries_and_end(int signal_number) {
  for (temporary_entry* entry = temporaries.load(); entry; entry = entry->next) {
    if (entry->live.load()) ::unlink(entry->path);
  }
  ::signal(signal_number, SIG_DFL);
  ::raise(signal_number);
}

// Signals that end the process by default; one that the caller ignores (as
// nohup does) stays ignored.
void remove_temporaries_on_signals() {
  static std::once_flag installed;
  std::call_once(installed, [] {
    for (const int signal_number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGQUIT}) {
      struct sigaction previous {};
      if (::sigaction(signal_number, nullptr, &previous) != 0 || previous.sa_handler != SIG_DFL) continue;
      struct sigaction action {};
      action.sa_handler = remove_temporaries_and_end;
      sigemptyset(&action.sa_mask);
      ::sigaction(signal_number, &action, nullptr);
    }
  });
}

// A temporary file that the signal handler knows of while it lives.
class temporary_file {
 public:
  explicit temporary_file(const std::string& path) {
    remove_temporaries_on_signals();
    if (path.size() >= sizeof(entry_->path)) cannot_write(path, "the name is too long");
    entry_ = new temporary_entry;  // kept for the process: see temporary_entry
    std::memcpy(entry_->path, path.c_str(), path.size() + 1);
    entry_->live.store(true);
    entry_->next = temporaries.load();
    while (!temporaries.compare_exchange_weak(entry_->next, entry_)) {
    }
  }
  ~temporary_file() {
    if (!kept_) ::unlink(entry_->path);
    entry_->live.store(false);
  }
  temporary_file(const temporary_file&) = delete;
  temporary_file& operator=(const temporary_file&) = delete;

  const char* path() const { return entry_->path; }
  // The file has been renamed into place: nothing to remove.
  void keep() { kept_ = true; }

 private:
  temporary_entry* entry_ = nullptr;
  bool kept_ = false;
};

// Writes all of `content` to `descriptor`; the reason when it cannot.
std::string write_all(int descriptor, const std::string& content) {
  std::size_t done = 0;
  while (done < content.size()) {
    const ssize_t count = ::write(descriptor, content.data() + done, content.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::strerror(errno);
    done += static_cast<std::size_t>(count);
  }
  return {};
}

// Writes `content` into the file at `path`, created or truncated.
std::string write_file(const char* path, const std::string& content) {
  const int descriptor = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (descriptor < 0) return std::strerror(errno);
  std::string reason = write_all(descriptor, content);
  if (::close(descriptor) != 0 && reason.empty()) reason = std::strerror(errno);
  return reason;
}

// The file a path names once its symbolic links are followed, as far as they
// lead (a dangling link gives the file it would name).
fs::path follow_links(fs::path path) {
  std::error_code error;
  for (int hops = 0; hops < 40 && fs::is_symlink(fs::symlink_status(path, error)); ++hops) {
    const fs::path target = fs::read_symlink(path, error);
    if (error) break;
    path = target.is_absolute() ? target : path.parent_path() / target;
  }
  return path;
}

bool under_system_folder(const fs::path& path) {
  const fs::path absolute = fs::absolute(path).lexically_normal();
  const auto top = std::next(absolute.begin());
  return top != absolute.end() && (*top == "dev" || *top == "proc");
}

// Whether the file at `path` is replaced (a regular file, or none yet) or
// written through: anything else, and the names of the process's own
// descriptors (/dev/stdout, /proc/self/fd/1), which stand for whatever the
// descriptor is open on, even a regular file.
bool replaced(const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (fs::exists(status) && !fs::is_regular_file(status)) return false;
  return !under_system_folder(path) && !under_system_folder(follow_links(path));
}

}  // namespace

bool output_files::is_standard_output(const std::string& path) {
  if (path == standard_output) return true;
  struct stat named {}, open_one {};
  return ::stat(path.c_str(), &named) == 0 && ::fstat(STDOUT_FILENO, &open_one) == 0 &&
         named.st_dev == open_one.st_dev && named.st_ino == open_one.st_ino;
}

std::filesystem::path output_files::place_of(const std::string& path) {
  std::error_code ignored;
  const std::filesystem::path absolute = std::filesystem::absolute(path, ignored);
  return std::filesystem::weakly_canonical(absolute, ignored).lexically_normal();
}

void output_files::add(const std::string& path, std::string content) {
  for (const file& earlier : files_) {
    if (earlier.path != standard_output && place_of(earlier.path) == place_of(path)) {
      throw lacewright::usage_error("two outputs would be written to one file: '" + earlier.path + "' and '" + path +
                                    "'");
    }
  }
  files_.push_back({path, std::move(content)});
}

std::vector<std::string> output_files::paths() const {
  std::vector<std::string> paths;
  for (const file& output : files_) paths.push_back(output.path);
  return paths;
}

void output_files::commit() {
  struct staged {
    staged(const std::string& temporary_path, fs::path target_path)
        : temporary(temporary_path), target(std::move(target_path)) {}
    temporary_file temporary;
    fs::path target;
  };
  std::vector<std::unique_ptr<staged>> renames;
  // Temporary files first: a failure there has written nothing anywhere.
  for (const file& output : files_) {
    if (is_standard_output(output.path) || !replaced(output.path)) continue;
    const fs::path target = follow_links(output.path);
    auto next = std::make_unique<staged>(target.string() + ".part" + std::to_string(::getpid()), target);
    if (const std::string why = write_file(next->temporary.path(), output.content); !why.empty()) {
      cannot_write(output.path, why);
    }
    renames.push_back(std::move(next));
  }
  for (const file& output : files_) {
    std::string why;
    if (is_standard_output(output.path)) {
      std::fflush(stdout);
      why = write_all(STDOUT_FILENO, output.content);
    } else if (!replaced(output.path)) {
      why = write_file(output.path.c_str(), output.content);
    }
    if (!why.empty()) cannot_write(output.path == standard_output ? "standard output" : output.path, why);
  }
  for (const std::unique_ptr<staged>& next : renames) {
    std::error_code error;
    fs::rename(next->temporary.path(), next->target, error);
    if (error) cannot_write(next->target.string(), error.message());
    next->temporary.keep();
  }
}

}  // namespace lacewright_tool
