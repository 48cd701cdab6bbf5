#include "omci/services/ForwardOperations.h"

#include <iterator>

namespace omci::services {

namespace {

// By forward operation, 0x00..0x21.
constexpr Forward kForward[] = {
    {Tagged::kPass, Part::kVid, true},           {Tagged::kDrop, Part::kVid, true},
    {Tagged::kPass, Part::kVid, false},          {Tagged::kMatch, Part::kVid, true},
    {Tagged::kMatch, Part::kVid, false},         {Tagged::kMismatch, Part::kVid, true},
    {Tagged::kMismatch, Part::kVid, false},      {Tagged::kMatch, Part::kPriority, true},
    {Tagged::kMatch, Part::kPriority, false},    {Tagged::kMismatch, Part::kPriority, true},
    {Tagged::kMismatch, Part::kPriority, false}, {Tagged::kMatch, Part::kTci, true},
    {Tagged::kMatch, Part::kTci, false},         {Tagged::kMismatch, Part::kTci, true},
    {Tagged::kMismatch, Part::kTci, false},      {Tagged::kMatch, Part::kVid, true},
    {Tagged::kMatch, Part::kVid, false},         {Tagged::kMatch, Part::kPriority, true},
    {Tagged::kMatch, Part::kPriority, false},    {Tagged::kMatch, Part::kTci, true},
    {Tagged::kMatch, Part::kTci, false},         {Tagged::kPass, Part::kVid, false},
    {Tagged::kMatch, Part::kVid, true},          {Tagged::kMatch, Part::kVid, false},
    {Tagged::kMatch, Part::kPriority, true},     {Tagged::kMatch, Part::kPriority, false},
    {Tagged::kMatch, Part::kTci, true},          {Tagged::kMatch, Part::kTci, false},
    {Tagged::kMatch, Part::kVid, true},          {Tagged::kMatch, Part::kVid, false},
    {Tagged::kMatch, Part::kPriority, true},     {Tagged::kMatch, Part::kPriority, false},
    {Tagged::kMatch, Part::kTci, true},          {Tagged::kMatch, Part::kTci, false},
};
static_assert(std::size(kForward) == 0x22);

}  // namespace

Forward forwardOf(const VlanFilter& filter) {
    return filter.operation < std::size(kForward) ? kForward[filter.operation] : kForward[0];
}

}  // namespace omci::services
