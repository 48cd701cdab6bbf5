#include "running/io/HeldJson.h"

#include <nlohmann/json.hpp>

namespace vorn_onu {

template <typename Value>
Held<Value>::Held() : value_(std::make_unique<Value>()) {}
template <typename Value>
Held<Value>::Held(const Held& other) : value_(std::make_unique<Value>(*other.value_)) {}
template <typename Value>
Held<Value>::Held(Held&& other) noexcept : value_(std::make_unique<Value>(std::move(*other.value_))) {}
template <typename Value>
Held<Value>& Held<Value>::operator=(const Held& other) {
    if (this != &other) *value_ = *other.value_;
    return *this;
}
template <typename Value>
Held<Value>& Held<Value>::operator=(Held&& other) noexcept {
    if (this != &other) *value_ = std::move(*other.value_);
    return *this;
}
template <typename Value>
Held<Value>::~Held() = default;

template class Held<nlohmann::json>;
template class Held<nlohmann::ordered_json>;

}  // namespace vorn_onu
