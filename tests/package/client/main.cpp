// An outside client built against the installed header and library only.
#include <scrivix/scrivix.h>

#include <cstdio>

int main() {
    IScrivixLib* library = nullptr;
    CLSID clsid{};
    if (FAILED(CLSIDFromProgID(u"Scrivix.ScrivixSvr", &clsid)) ||
        FAILED(CoCreateInstance(clsid, nullptr, CLSCTX_ALL, IID_IScrivixLib, reinterpret_cast<void**>(&library)))) {
        std::fprintf(stderr, "the library object cannot be created\n");
        return 1;
    }
    BSTR version = nullptr;
    const HRESULT hr = library->get_Version(&version);
    const bool ok = SUCCEEDED(hr) && SysStringLen(version) == 8;
    SysFreeString(version);
    library->Release();
    if (!ok || DllCanUnloadNow() != S_OK) {
        std::fprintf(stderr, "unexpected state of the installed library\n");
        return 1;
    }
    std::printf("installed client: ok\n");
    return 0;
}
