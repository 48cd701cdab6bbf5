// The board file as lines on the disk. It is rewritten under another name, which then becomes its own, and otherwise
// only grows: whoever is killed leaves whole lines and at most a torn one behind them.
#ifndef VIRTUAL_ONU_BOARD_FILE_H
#define VIRTUAL_ONU_BOARD_FILE_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "real_libc/FileIdentity.h"

namespace virtual_onu::persistence {

class BoardFile {
public:
    // Name and links are resolved, since the program may change its directory. Throws BadBoard for a place where no
    // file can be, and for what is no plain file.
    explicit BoardFile(const std::string& path);
    ~BoardFile();
    BoardFile(const BoardFile&) = delete;
    BoardFile& operator=(const BoardFile&) = delete;

    const std::string& path() const { return path_; }
    bool exists() const;
    void open();  // for reading and appending; throws BadBoard

    // From the place on to the end, or to the end of this process's own file where a new one has taken its name.
    std::string readFrom(std::uint64_t place);  // throws BadBoard
    // Adds the text at the place, which is the end, in one write. False with errno set when it does not fit: the file
    // is then as before.
    bool append(std::uint64_t place, const std::string& text);
    bool cut(std::uint64_t place);  // what is behind the place goes
    // The text becomes the file. Throws BadBoard.
    void rewrite(const std::string& text);

private:
    struct Opened {
        int number = -1;
        FileIdentity identity;
    };
    int descriptor();  // the open file, found again when the program has closed it; -1 when it is lost
    int keep(int fd);
    static void letGo(const Opened& opened);  // unless the program has closed it, and has another file by that number
    std::string path_;
    FileIdentity identity_;
    std::map<unsigned, Opened> opened_;  // by the table that the thread has
};

}  // namespace virtual_onu::persistence

#endif
