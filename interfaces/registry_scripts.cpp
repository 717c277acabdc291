// Every class registers the same set of keys (a versioned and a version-independent ProgID, its CLSID key
// with ProgIDs, InprocServer32 and threading model); the few classes that differ say how in their row of
// the table below, and the script text is composed from it.
#include "interfaces/registry_scripts.h"

#include <algorithm>
#include <iterator>

namespace scrivix {
namespace {

struct ClassScript {
    UINT resource;
    const char* name;
    const char* description;
    bool cur_ver = true;
    bool programmable = true;
    const char* threading_model = "Both";
    bool type_lib = false;
    bool control = false;
};

constexpr ClassScript kClasses[] = {
    {101, "EditBufferA", "EditBuffer (ANSI) Class"},
    {101, "EditBufferU", "EditBuffer (UNICODE) Class"},
    {103, "TextSegment", "TextSegment Class"},
    {105, "FileStreamA", "ASCII FileStream Class"},
    {105, "FileStreamU", "UNICODE FileStream Class"},
    {106, "PatternA", "Pattern Class (ANSI)"},
    {106, "PatternU", "Pattern Class (UNICODE)"},
    {107, "PatternIterator", "PatternIterator Class"},
    {108, "BufferSegmentA", "BufferSegmentA Class"},
    {108, "BufferSegmentU", "BufferSegmentU Class"},
    {109, "Span", "Span Class", true, true, "Both", true},
    {110, "ScrivixSvr", "ScrivixSvr Class", true, true, "Both", true},
    {111, "SpanIterator", "SpanIterator Class", false, false, "both", true},
    {113, "ScrivixCtl", "ScrivixCtl Class", true, true, "Both", true, true},
};

std::string ProgIdKeys(const ClassScript& c) {
    const std::string name = std::string("Scrivix.") + c.name;
    const std::string clsid = std::string("%CLSID_") + c.name + "%";
    std::string s;
    s += "\t" + name + ".1 = s '" + c.description + "'\n\t{\n";
    s += "\t\tCLSID = s '" + clsid + "'\n";
    if (c.control) s += "\t\t'Insertable'\n";
    s += "\t}\n";
    s += "\t" + name + " = s '" + c.description + "'\n\t{\n";
    s += "\t\tCLSID = s '" + clsid + "'\n";
    if (c.cur_ver) s += "\t\tCurVer = s '" + name + ".1'\n";
    s += "\t}\n";
    return s;
}

std::string ClassIdKey(const ClassScript& c) {
    const std::string name = std::string("Scrivix.") + c.name;
    std::string s;
    s += "\t\tForceRemove %CLSID_" + std::string(c.name) + "% = s '" + c.description + "'\n\t\t{\n";
    s += "\t\t\tProgID = s '" + name + ".1'\n";
    s += "\t\t\tVersionIndependentProgID = s '" + name + "'\n";
    if (c.programmable) s += "\t\t\tForceRemove 'Programmable'\n";
    s += "\t\t\tInprocServer32 = s '%MODULE%'\n\t\t\t{\n";
    s += "\t\t\t\tval ThreadingModel = s '" + std::string(c.threading_model) + "'\n\t\t\t}\n";
    if (c.control) {
        s += "\t\t\tForceRemove 'Control'\n";
        s += "\t\t\tForceRemove 'Insertable'\n";
        s += "\t\t\tForceRemove 'ToolboxBitmap32' = s '%MODULE%, 112'\n";
        s += "\t\t\t'MiscStatus' = s '0'\n\t\t\t{\n\t\t\t\t'1' = s '132497'\n\t\t\t}\n";
    }
    if (c.type_lib) s += "\t\t\t'TypeLib' = s '%LIBID%'\n";
    if (c.control) s += "\t\t\t'Version' = s '1.0'\n";
    s += "\t\t}\n";
    return s;
}

}  // namespace

std::string RegistryScript(UINT resource) {
    std::string prog_ids, class_ids;
    for (const ClassScript& c : kClasses) {
        if (c.resource != resource) continue;
        prog_ids += ProgIdKeys(c);
        class_ids += ClassIdKey(c);
    }
    if (prog_ids.empty()) return {};
    return "HKCR\n{\n" + prog_ids + "\tNoRemove CLSID\n\t{\n" + class_ids + "\t}\n}\n";
}

}  // namespace scrivix
