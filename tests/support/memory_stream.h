// MemoryStream: a stream of the tests' own, over bytes in memory, with failures to order. It lives on
// the test's stack and checks that every reference handed out was given back.
#pragma once

#include <scrivix/scrivix.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

namespace scrivix::test {

class MemoryStream final : public IStream {
public:
    explicit MemoryStream(std::string content = {}) : bytes(std::move(content)) {}
    ~MemoryStream() { EXPECT_EQ(refs_, 1u) << "a reference to the stream was not released"; }

    std::string bytes;
    uint64_t position = 0;
    // Failures to order: a failing status for every Seek, Read or Write.
    HRESULT seek_status = S_OK, read_status = S_OK, write_status = S_OK;
    // The most bytes one Write takes.
    ULONG write_limit = ~ULONG{0};
    // The size a Seek from the end reports, when it is not the real one.
    std::optional<uint64_t> reported_size;
    int reads = 0;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override {
        if (!ppv) return E_POINTER;
        *ppv = nullptr;
        if (iid != IID_IUnknown && iid != IID_ISequentialStream && iid != IID_IStream) return E_NOINTERFACE;
        *ppv = static_cast<IStream*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override { return --refs_; }

    HRESULT STDMETHODCALLTYPE Read(void* pv, ULONG cb, ULONG* pcbRead) override {
        ++reads;
        if (FAILED(read_status)) return read_status;
        const uint64_t n = position < bytes.size() ? std::min<uint64_t>(cb, bytes.size() - position) : 0;
        std::copy_n(bytes.data() + position, n, static_cast<char*>(pv));
        position += n;
        if (pcbRead) *pcbRead = static_cast<ULONG>(n);
        return n < cb ? S_FALSE : S_OK;
    }
    HRESULT STDMETHODCALLTYPE Write(const void* pv, ULONG cb, ULONG* pcbWritten) override {
        if (FAILED(write_status)) return write_status;
        const ULONG n = std::min(cb, write_limit);
        if (bytes.size() < position + n) bytes.resize(position + n);
        std::copy_n(static_cast<const char*>(pv), n, bytes.data() + position);
        position += n;
        if (pcbWritten) *pcbWritten = n;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* new_position) override {
        if (FAILED(seek_status)) return seek_status;
        const int64_t base = origin == STREAM_SEEK_SET ? 0
                             : origin == STREAM_SEEK_CUR ? static_cast<int64_t>(position)
                                                         : static_cast<int64_t>(bytes.size());
        if (base + move.QuadPart < 0) return STG_E_INVALIDFUNCTION;
        position = static_cast<uint64_t>(base + move.QuadPart);
        uint64_t reported = position;
        if (origin == STREAM_SEEK_END && reported_size) reported = *reported_size;
        if (new_position) new_position->QuadPart = reported;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IStream**) override { return E_NOTIMPL; }

private:
    ULONG refs_ = 1;
};

}  // namespace scrivix::test
