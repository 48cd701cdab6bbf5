// Who works on a board file: a file beside it, "FILE.lock", with a page that all processes of the board share. A
// mapping of the file holds the lock on it, so that a program that closes descriptors does not lose it, and a child has
// it from its parent. Where the disk has no room for the page, the file is empty, and the page lies in memory, below
// /dev/shm.
#ifndef VIRTUAL_ONU_BOARD_LOCK_H
#define VIRTUAL_ONU_BOARD_LOCK_H

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <string>

namespace virtual_onu::persistence {

enum class LockMode { Exclusive, Shared };  // refused while others work on the board, or not

class BoardLock {
public:
    // Throws BadBoard.
    BoardLock(std::string boardFile, LockMode mode);
    ~BoardLock();  // the last one removes the file
    BoardLock(const BoardLock&) = delete;
    BoardLock& operator=(const BoardLock&) = delete;

    // Nobody else was there: the board file is this process's alone until it is shared.
    bool isFirst() const { return descriptor_ >= 0; }
    void share();

    // One process works on the board at a time. takeTurn() answers whether all is well: false when the process whose
    // turn it was has died in the middle of it.
    bool takeTurn();
    void giveTurn();

    // Of the board file, for who has the turn: how long it is, and how often it has been rewritten.
    std::atomic<std::uint64_t>& size() { return page_->size; }
    std::atomic<std::uint64_t>& edition() { return page_->edition; }

private:
    struct Page {
        pthread_mutex_t turn;
        std::atomic<std::uint64_t> size, edition;
    };
    bool lockNamedFile(LockMode mode);
    void mapPage();
    int openPage() const;
    void removeIfLast() const;

    std::string boardFile_, path_;
    int descriptor_ = -1;  // while this process is alone
    bool isNew_ = false;
    void* held_ = nullptr;  // the file
    Page* page_ = nullptr;
};

}  // namespace virtual_onu::persistence

#endif
