// The texts of the message table, exactly as users and scripts see them.
#include "interfaces/messages.h"

#include <algorithm>
#include <iterator>

namespace scrivix {
namespace {

constexpr MessageEntry kMessages[] = {
    {10000, 76, "Invalid Extent."},
    {10001, 77, "Insuficent memory for operation."},
    {10002, 78, "Invalid Start parameter."},
    {10003, 79, "Invalid End parameter."},
    {10004, 80, "File is already open."},
    {10005, 81, "Could not open specified file."},
    {10006, 82, "TextSegment is not bound to a source (EditBuffer)."},
    {10007, 0xFFFFFFFF, "Insuficient memory for operation."},
    {10500, 83, "Iterator is not bound to a Source."},
    {10501, 84, "No patterns to search for."},
    {10502, 85, "Illegal Regular Expression."},
    {10503, 86, "No memory to create Regular Expression template."},
    {10504, 87, "Improper closure of Regular Expression."},
    {10505, 88, "Improper pattern in Regular Expression."},
    {10506, 89, "Unknown error creating Regular Expression template."},
    {10507, 90, "Invalid Pattern index."},
    {10508, 91, "No current selection."},
    {10509, 92, "No Spans to search for."},
    {10510, 94, "Attempt to search using an empty Pattern."},
};

}  // namespace

const MessageEntry* FindMessage(UINT number) {
    auto found = std::find_if(std::begin(kMessages), std::end(kMessages),
                              [number](const MessageEntry& entry) { return entry.number == number; });
    return found == std::end(kMessages) ? nullptr : found;
}

}  // namespace scrivix
