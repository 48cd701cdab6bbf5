// The checksum of a board file. Every line but the first ends with one, as the last member of its object:
//
//   {"clock":{...},"crc32":"0b3a9c51"}
//
// It is the CRC-32 (the one of Ethernet and zlib) of the whole file in front of that member. So a line that was changed
// is found, and one that was lost, doubled or moved, too.
#ifndef VIRTUAL_ONU_FILE_SUM_H
#define VIRTUAL_ONU_FILE_SUM_H

#include <cstdint>
#include <string>
#include <string_view>

namespace virtual_onu::persistence {

class FileSum {
public:
    void add(std::string_view text);  // more of the file
    // An object that is not empty as the file's next line, with its checksum and the line's end.
    std::string lineOf(std::string object);
    // The object of the file's next line, which is given without its end. Throws BadBoard.
    std::string objectOf(const std::string& line);
    // Whether a text with no line's end has the whole of a line, and something else where the end would be. A line that
    // is being written does not come to that.
    static bool hasMoreThanALine(std::string_view text);

private:
    std::string member() const;
    std::uint32_t state_ = ~std::uint32_t{0};
};

}  // namespace virtual_onu::persistence

#endif
