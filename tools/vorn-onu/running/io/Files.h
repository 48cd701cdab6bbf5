// Files that the user names: read whole, within limits; written whole. What goes wrong is reported in one line with the
// file's name and the reason.
#ifndef VORN_ONU_FILES_H
#define VORN_ONU_FILES_H

#include <cstddef>
#include <stdexcept>
#include <string>

namespace vorn_onu {

class FileProblem : public std::runtime_error {
public:
    FileProblem(const std::string& path, const std::string& reason) : std::runtime_error(path + ": " + reason) {}
};

// All of the file. FileProblem when it cannot be read, is a directory, or has more bytes: an endless one ends there.
std::string readFile(const std::string& path, std::size_t mostBytes);

// Throws a FileProblem unless the file can be made or written, and leaves everything as it is: asked before a run that
// takes its time. An empty path is good.
void checkWritable(const std::string& path);
// Throws a FileProblem.
void writeFile(const std::string& path, const std::string& content);

}  // namespace vorn_onu

#endif
