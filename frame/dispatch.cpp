// The cache of the library's type information, one entry per interface, kept for the module's life.
#include "frame/dispatch.h"

#include <algorithm>
#include <map>
#include <tuple>

namespace scrivix {
namespace {

struct GuidLess {
    bool operator()(const GUID& a, const GUID& b) const {
        return std::tie(a.Data1, a.Data2, a.Data3) < std::tie(b.Data1, b.Data2, b.Data3) ||
               (std::tie(a.Data1, a.Data2, a.Data3) == std::tie(b.Data1, b.Data2, b.Data3) &&
                std::lexicographical_compare(a.Data4, a.Data4 + 8, b.Data4, b.Data4 + 8));
    }
};

}  // namespace

HRESULT LibraryTypeInfo(REFIID iid, ITypeInfo** info) {
    static std::mutex mutex;
    static std::map<GUID, ComPtr<ITypeInfo>, GuidLess> cache;
    std::lock_guard guard(mutex);
    auto found = cache.find(iid);
    if (found == cache.end()) {
        ComPtr<ITypeLib> library;
        HRESULT hr = LoadRegTypeLib(LIBID_ScrivixLib, 1, 0, 0, library.Put());
        if (FAILED(hr)) return hr;
        ComPtr<ITypeInfo> loaded;
        hr = library->GetTypeInfoOfGuid(iid, loaded.Put());
        if (FAILED(hr)) return hr;
        found = cache.emplace(iid, std::move(loaded)).first;
    }
    return found->second.CopyTo(info);
}

}  // namespace scrivix
