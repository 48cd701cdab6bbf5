// A JSON value as a member of a record, for headers that need not know all of JSON.
#ifndef VORN_ONU_HELD_JSON_H
#define VORN_ONU_HELD_JSON_H

#include <memory>
#include <type_traits>
#include <utility>

#include <nlohmann/json_fwd.hpp>

namespace vorn_onu {

// Null until it gets a value, and after it was moved from. Whoever looks into it includes <nlohmann/json.hpp>.
template <typename Value>
class Held {
public:
    Held();
    template <typename From,
              typename = std::enable_if_t<std::conjunction_v<std::negation<std::is_same<std::decay_t<From>, Held>>,
                                                             std::is_constructible<Value, From>>>>
    Held(From&& from) : Held() {  // NOLINT(google-explicit-constructor): it is the value
        *value_ = Value(std::forward<From>(from));
    }
    Held(const Held& other);
    Held(Held&& other) noexcept;
    Held& operator=(const Held& other);
    Held& operator=(Held&& other) noexcept;
    ~Held();

    Value& operator*() { return *value_; }
    const Value& operator*() const { return *value_; }
    Value* operator->() { return value_.get(); }
    const Value* operator->() const { return value_.get(); }

private:
    std::unique_ptr<Value> value_;
};

extern template class Held<nlohmann::json>;
extern template class Held<nlohmann::ordered_json>;

}  // namespace vorn_onu

#endif
