// Writing an output file so that nothing is lost: the data go to a temporary
// file in the target's directory, which is synced and renamed over the
// target only when complete. Until commit() the target is untouched; a file
// that is not committed is removed, also when an interrupt ends the process.
#pragma once

#include <string>

namespace veltrax::host {

// Refuses a target that is the input itself (same file through any path,
// symbolic or hard link), a directory, or an existing file without `force`.
// `input` may be empty when there is no input file.
void checkOutputTarget(const std::string& target, const std::string& input, bool force);

// Creates `directory` and its missing parents; throws HostError on failure.
void createDirectories(const std::string& directory);

class SafeOutputFile {
 public:
  // Creates the temporary file; throws HostError if the directory is missing
  // or not writable.
  explicit SafeOutputFile(const std::string& target);
  ~SafeOutputFile();
  SafeOutputFile(const SafeOutputFile&) = delete;
  SafeOutputFile& operator=(const SafeOutputFile&) = delete;

  int fd() const { return fd_; }
  const std::string& target() const { return target_; }

  // Syncs and closes the temporary file and renames it into place.
  void commit();

 private:
  std::string target_;
  std::string temporary_;
  int fd_ = -1;
  int pendingSlot_ = -1;
  bool committed_ = false;
};

}  // namespace veltrax::host
