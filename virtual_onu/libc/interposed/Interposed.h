// What the interposed functions have in common. Each does three things only: is it ours? then ask the model, else call
// the real function. errno stays as it was when the answer is a success. What is not ours goes on without an allocation
// and without a lock, so that the program's signal handlers may call it.
//
// They are defined under names of their own with the C library's as link names: so the C library's declarations with
// their attributes ("the path is never null"), fortified inline bodies and large-file renamings do not apply to them.
#ifndef VIRTUAL_ONU_INTERPOSED_H
#define VIRTUAL_ONU_INTERPOSED_H

#include <cerrno>

#define INTERPOSES(name) __asm__(#name) __attribute__((visibility("default")))

namespace virtual_onu {

// Turns the model's answer (a result, or a negative errno value) into the C library's.
class Answer {
public:
    template <typename Result>
    Result operator()(Result result) const {
        errno = result < 0 ? static_cast<int>(-result) : saved_;
        return result < 0 ? -1 : result;
    }

private:
    int saved_ = errno;
};

// For functions whose result says nothing about errno.
class KeepErrno {
public:
    KeepErrno() = default;
    KeepErrno(const KeepErrno&) = delete;
    ~KeepErrno() { errno = saved_; }

private:
    int saved_ = errno;
};

}  // namespace virtual_onu

#endif
