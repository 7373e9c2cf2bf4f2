#pragma once
// A file written beside its target and renamed over it when complete, so that the target names
// either the old file whole or the new one whole; a file given up is removed.

#include <fstream>
#include <memory>
#include <string>

namespace torvex::cli {

class OutputFile {
public:
    /// Opens "<path>.part" for writing; see IsOpen.
    explicit OutputFile(std::string path);
    /// Removes the part file unless Commit succeeded.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// False, with the reason in Error(), when the part file could not be made.
    bool IsOpen() const { return open_; }
    std::ostream& Stream() { return stream_; }
    /// Closes the part file and renames it over the target; false with the reason in Error()
    /// when a write failed or the rename did, and then the target is as it was.
    bool Commit();
    const std::string& Error() const { return error_; }
    const std::string& Path() const { return path_; }

private:
    std::string path_;
    std::string part_;
    std::unique_ptr<char[]> buffer_;
    std::ofstream stream_;
    bool open_ = false;
    bool committed_ = false;
    std::string error_;
};

} // namespace torvex::cli
