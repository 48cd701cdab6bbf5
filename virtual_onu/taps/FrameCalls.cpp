#include "taps/FrameCalls.h"

#include <linux/fs.h>
#include <linux/io_uring.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "taps/OwnDescriptors.h"

namespace virtual_onu::taps {

FrameCalls::FrameCalls() : calls_(kMaxCalls) {
    if (!openRing()) closeRing();
}

FrameCalls::~FrameCalls() {
    closeRing();
}

// Containers often forbid it, and administrators may.
bool FrameCalls::openRing() {
    io_uring_params about{};
    ring_ = own::setUpRing(kMaxCalls, &about);
    if (ring_ < 0) return false;
    constexpr unsigned kNeeded = IORING_FEAT_SINGLE_MMAP | IORING_FEAT_NODROP | IORING_FEAT_RW_CUR_POS;  // Linux 5.6
    if ((about.features & kNeeded) != kNeeded) return false;
    queuesSize_ = std::max<std::size_t>(about.sq_off.array + about.sq_entries * sizeof(unsigned),
                                        about.cq_off.cqes + about.cq_entries * sizeof(io_uring_cqe));
    entriesSize_ = about.sq_entries * sizeof(io_uring_sqe);
    void* queues = own::map(ring_, queuesSize_, IORING_OFF_SQ_RING);
    if (queues != MAP_FAILED) queues_ = static_cast<std::uint8_t*>(queues);
    void* entries = own::map(ring_, entriesSize_, IORING_OFF_SQES);
    if (entries != MAP_FAILED) entries_ = static_cast<std::uint8_t*>(entries);
    if (queues_ == nullptr || entries_ == nullptr) return false;
    madvise(queues_, queuesSize_, MADV_DONTFORK);  // the board of a child has a ring of its own
    madvise(entries_, entriesSize_, MADV_DONTFORK);
    offsets_ = {about.sq_off.tail, about.sq_off.ring_mask, about.sq_off.array, about.cq_off.head,
                about.cq_off.tail, about.cq_off.ring_mask, about.cq_off.cqes};
    return true;
}

void FrameCalls::closeRing() {
    if (queues_ != nullptr) munmap(queues_, queuesSize_);
    if (entries_ != nullptr) munmap(entries_, entriesSize_);
    if (ring_ >= 0) own::close(ring_);
    queues_ = entries_ = nullptr;
    ring_ = -1;
}

FrameCalls::Call& FrameCalls::add(int descriptor, bool writes) {
    Call& call = calls_[count_++];
    call = {};
    call.descriptor = descriptor;
    call.writes = writes;
    call.result = -EAGAIN;  // stays where the kernel gives no answer
    return call;
}

void FrameCalls::runOneByOne() {
    for (std::size_t i = 0; i < count_; ++i) {
        Call& call = calls_[i];
        const Call* before = i == 0 ? nullptr : &calls_[i - 1];
        if (before != nullptr && !before->writes && !call.writes && before->result == -EAGAIN &&
            before->descriptor == call.descriptor) {
            call.result = -EAGAIN;  // nothing more waits
            continue;
        }
        const auto parts = static_cast<int>(call.count);
        do {
            call.result = call.writes ? own::write(call.descriptor, call.parts.data(), parts)
                                      : own::read(call.descriptor, call.parts[0].iov_base, call.parts[0].iov_len);
            if (call.result < 0) call.result = -errno;
        } while (call.result == -EINTR);
    }
}

void FrameCalls::runTogether() {
    unsigned* tail = at(offsets_.tail);
    const unsigned mask = *at(offsets_.mask), first = *tail;
    for (unsigned i = 0; i < count_; ++i) {
        const Call& call = calls_[i];
        const bool vector = call.count > 1;
        io_uring_sqe entry{};
        entry.opcode = !call.writes ? IORING_OP_READ : vector ? IORING_OP_WRITEV : IORING_OP_WRITE;
        entry.fd = call.descriptor;
        const void* bytes = vector ? static_cast<const void*>(call.parts.data()) : call.parts[0].iov_base;
        entry.addr = reinterpret_cast<std::uintptr_t>(bytes);
        entry.len = vector ? call.count : static_cast<std::uint32_t>(call.parts[0].iov_len);
        entry.rw_flags = RWF_NOWAIT;  // O_NONBLOCK alone would let it wait until something comes
        entry.user_data = i;
        const unsigned place = (first + i) & mask;
        std::memcpy(entries_ + place * sizeof entry, &entry, sizeof entry);
        at(offsets_.array)[place] = place;
    }
    const auto all = static_cast<unsigned>(count_);
    __atomic_store_n(tail, first + all, __ATOMIC_RELEASE);
    for (unsigned handed = 0, answered = 0; answered < all; answered += takeResults()) {
        const int took = own::enterRing(ring_, all - handed, 1);
        if (took > 0) handed += static_cast<unsigned>(took);
        if (took < 0 && errno != EINTR && errno != EAGAIN && errno != EBUSY) return closeRing();
    }
    if (calls_[0].result != -EOPNOTSUPP) return;
    closeRing();  // a kernel whose TAPs do not know it
    runOneByOne();
}

unsigned FrameCalls::takeResults() {
    unsigned* head = at(offsets_.resultHead);
    const unsigned mask = *at(offsets_.resultMask), first = *head;
    const unsigned end = __atomic_load_n(at(offsets_.resultTail), __ATOMIC_ACQUIRE);
    for (unsigned i = first; i != end; ++i) {
        io_uring_cqe result{};
        std::memcpy(&result, queues_ + offsets_.results + (i & mask) * sizeof result, sizeof result);
        calls_[static_cast<std::size_t>(result.user_data)].result = result.res;
    }
    __atomic_store_n(head, end, __ATOMIC_RELEASE);
    return end - first;
}

}  // namespace virtual_onu::taps
