// The task allocator: the one heap from which memory handed between components comes, so that whoever
// receives a block (a string, a name) can free it without knowing who allocated it.
#include <scrivix/scrivix.h>

#include <cstdlib>

extern "C" {

SCRIVIX_API LPVOID CoTaskMemAlloc(SIZE_T cb) {
    // A request for zero bytes still yields a distinct block that can be freed.
    return std::malloc(cb == 0 ? 1 : cb);
}

SCRIVIX_API LPVOID CoTaskMemRealloc(LPVOID pv, SIZE_T cb) {
    if (pv == nullptr) return CoTaskMemAlloc(cb);
    if (cb == 0) {
        std::free(pv);
        return nullptr;
    }
    return std::realloc(pv, cb);
}

SCRIVIX_API void CoTaskMemFree(LPVOID pv) { std::free(pv); }

}  // extern "C"
