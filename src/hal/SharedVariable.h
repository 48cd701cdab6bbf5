// Access to a plain variable that several threads use. Daemons know these variables by their plain types, so they
// cannot be std::atomic; the library touches them through these functions only.
#ifndef HAL_SHARED_VARIABLE_H
#define HAL_SHARED_VARIABLE_H

template <typename T>
T loadShared(const T& variable) {
    return __atomic_load_n(&variable, __ATOMIC_SEQ_CST);
}

template <typename T>
void storeShared(T& variable, T value) {
    __atomic_store_n(&variable, value, __ATOMIC_SEQ_CST);
}

template <typename T>
void addShared(T& variable, T change) {
    __atomic_add_fetch(&variable, change, __ATOMIC_SEQ_CST);
}

#endif
