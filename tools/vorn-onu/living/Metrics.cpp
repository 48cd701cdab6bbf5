#include "living/Metrics.h"

#include <cstdio>

namespace vorn_onu::living {

namespace {

constexpr double kShortestBound = 50e-6;

// A backslash and a line's end are escaped in help texts, a quote in label values too.
std::string escapedMetric(const std::string& text, bool quotes) {
    std::string result;
    for (const char c : text) {
        if (c == '\\' || (quotes && c == '"')) result += '\\';
        result += c == '\n' ? "\\n" : std::string(1, c);
    }
    return result;
}

std::string valueOf(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.12g", value);
    return text;
}

}  // namespace

double Histogram::bound(std::size_t bucket) {
    return kShortestBound * static_cast<double>(std::uint64_t{1} << bucket);
}

void Histogram::add(double seconds) {
    std::size_t bucket = 0;
    while (bucket < kBounds && seconds > bound(bucket)) ++bucket;
    ++counts_[bucket];
    sum_ += seconds;
}

std::uint64_t Histogram::upTo(std::size_t bucket) const {
    std::uint64_t count = 0;
    for (std::size_t i = 0; i <= bucket; ++i) count += counts_[i];
    return count;
}

void MetricText::begin(const std::string& name, const char* type, const std::string& help) {
    name_ = name;
    text_ += "# HELP " + name + " " + escapedMetric(help, false) + "\n# TYPE " + name + " " + type + "\n";
}

void MetricText::line(const std::string& name, const Labels& labels, const std::string& value) {
    text_ += name;
    char before = '{';
    for (const auto& [label, given] : labels) {
        text_ += before + label + "=\"" + escapedMetric(given, true) + '"';
        before = ',';
    }
    text_ += (labels.empty() ? " " : "} ") + value + "\n";
}

void MetricText::sample(const Labels& labels, std::uint64_t value) {
    line(name_, labels, std::to_string(value));
}

void MetricText::sample(const Labels& labels, double value) {
    line(name_, labels, valueOf(value));
}

void MetricText::histogram(const std::string& name, const std::string& help, const Histogram& histogram) {
    begin(name, "histogram", help);
    for (std::size_t i = 0; i < Histogram::kBounds; ++i)
        line(name + "_bucket", {{"le", valueOf(Histogram::bound(i))}}, std::to_string(histogram.upTo(i)));
    const std::string all = std::to_string(histogram.upTo(Histogram::kBounds));
    line(name + "_bucket", {{"le", "+Inf"}}, all);
    line(name + "_sum", {}, valueOf(histogram.sum()));
    line(name + "_count", {}, all);
}

}  // namespace vorn_onu::living
