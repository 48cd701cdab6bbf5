// What a board counts, for those who watch many: metrics in the exposition format of Prometheus, named as it asks for
// (base units, counters end in _total).
#ifndef VORN_ONU_METRICS_H
#define VORN_ONU_METRICS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vorn_onu::living {

// Durations in buckets whose upper bounds double from 50 µs to 1.6 s.
class Histogram {
public:
    static constexpr std::size_t kBounds = 16;
    static double bound(std::size_t bucket);  // seconds
    void add(double seconds);
    // How many were at most as long as bound(bucket); kBounds: all of them.
    std::uint64_t upTo(std::size_t bucket) const;
    double sum() const { return sum_; }  // seconds

private:
    std::array<std::uint64_t, kBounds + 1> counts_{};
    double sum_ = 0;
};

// The text, a family after the other: each begins with its name, and its samples follow.
class MetricText {
public:
    using Labels = std::vector<std::pair<std::string, std::string>>;

    void counter(const std::string& name, const std::string& help) { begin(name, "counter", help); }
    void gauge(const std::string& name, const std::string& help) { begin(name, "gauge", help); }
    void sample(const Labels& labels, std::uint64_t value);
    void sample(const Labels& labels, double value);
    void histogram(const std::string& name, const std::string& help, const Histogram& histogram);

    const std::string& text() const { return text_; }

private:
    void begin(const std::string& name, const char* type, const std::string& help);
    void line(const std::string& name, const Labels& labels, const std::string& value);

    std::string text_, name_;
};

// Of the board in this process: what is on it, frames by fate, calls of the device kit and of the HAL's operations,
// real packets; and of the process itself.
MetricText boardMetrics();

}  // namespace vorn_onu::living

#endif
