// Who makes the file objects: the library's two file classes by name, and a client's own file class, from
// a module of its own, standing in a buffer's FileClass by ProgID or by class id.
#include "frame/class_name.h"
#include "platform/registry.h"
#include "support/buffer_widths.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <string>

namespace scrivix {
namespace {

TEST(FileClasses, MadeByClassNameAndNotAggregatable) {
    for (const char16_t* name : {u"Scrivix.FileStreamA", u"Scrivix.FileStreamU.1"}) {
        ComPtr<IFile> file;
        EXPECT_EQ(CreateFromClassName(Bstr(name).Get(), file), S_OK);
        EXPECT_TRUE(file);
    }
    struct Outer : IUnknown {
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
        ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
        ULONG STDMETHODCALLTYPE Release() override { return 1; }
    } outer;
    ComPtr<IUnknown> inner;
    EXPECT_EQ(CoCreateInstance(CLSID_FileStreamU, &outer, CLSCTX_ALL, IID_IUnknown, inner.PutVoid()), S_OK);
    EXPECT_EQ(CoCreateInstance(CLSID_FileStreamU, &outer, CLSCTX_ALL, IID_IFile, inner.PutVoid()),
              CLASS_E_NOAGGREGATION);
}

// A client's file class, registered for the suite under a ProgID and a class id.

const std::u16string kClientClsid = u"{7B3F6A10-2C4D-4E8F-9A1B-5C6D7E8F9020}";
const std::u16string kClientProgId = u"Scrivix.Test.MemoryFile";

template <class Width>
class ClientFileClass : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        const std::string path = SCRIVIX_CLIENT_FILE_PATH;
        for (const auto& [key, value] : {std::pair(kClientProgId + u"\\CLSID", kClientClsid),
                                         std::pair(u"CLSID\\" + kClientClsid + u"\\InprocServer32",
                                                   std::u16string(path.begin(), path.end()))}) {
            HKEY handle = nullptr;
            ASSERT_EQ(
                RegCreateKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &handle, nullptr),
                ERROR_SUCCESS);
            RegSetValueExW(handle, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                           static_cast<DWORD>((value.size() + 1) * sizeof(char16_t)));
            RegCloseKey(handle);
        }
    }
    static void TearDownTestSuite() {
        platform::DeleteRegistryTree(HKEY_CLASSES_ROOT, kClientProgId);
        platform::DeleteRegistryTree(HKEY_CLASSES_ROOT, u"CLSID\\" + kClientClsid);
    }
    void TearDown() override {
        if (const auto live = ClientExport<long (*)()>("ClientFileLiveObjects")) {
            EXPECT_EQ(live(), 0) << "the buffer released its file objects";
        }
    }

    // A function the client's module exports, or null while the module is not loaded (the platform loads
    // it for the first object of its class).
    template <class Function>
    static Function ClientExport(const char* name) {
        void* module = dlopen(SCRIVIX_CLIENT_FILE_PATH, RTLD_NOW | RTLD_NOLOAD);
        if (!module) return nullptr;
        auto function = reinterpret_cast<Function>(dlsym(module, name));
        dlclose(module);
        return function;
    }
    static SHORT LastMode() {
        const auto last_mode = ClientExport<SHORT (*)()>("ClientFileLastMode");
        return last_mode ? last_mode() : -1;
    }

    // A buffer that makes its files from the client's class, named as `file_class`.
    static ComPtr<IEditBuffer> ClientBuffer(const std::u16string& file_class, std::u16string_view text = {}) {
        ComPtr<IEditBuffer> buffer = test::NewBuffer<Width>(text);
        EXPECT_EQ(buffer->put_FileClass(Bstr(file_class).Get()), S_OK);
        return buffer;
    }
};

TYPED_TEST_SUITE(ClientFileClass, test::BufferWidths);

TYPED_TEST(ClientFileClass, StandsInFileClassWithTheModesCombined) {
    const std::u16string text = TypeParam::Sample();
    const ULONG bytes = static_cast<ULONG>(text.size() * sizeof(typename TypeParam::Char));
    const Bstr name(u"notes");
    for (const std::u16string& file_class : {kClientProgId, kClientClsid}) {
        ULONG actual = 0;
        ComPtr<IEditBuffer> source = this->ClientBuffer(file_class, text);
        ASSERT_EQ(source->WriteFile(0, LONG(text.size()), name.Get(), file_out, &actual), S_OK);
        EXPECT_EQ(std::pair(this->LastMode(), actual), std::pair(SHORT{file_out}, bytes));

        ComPtr<IEditBuffer> copy = this->ClientBuffer(file_class);
        ASSERT_EQ(copy->LoadFile(name.Get(), file_in | file_out, &actual), S_OK);
        EXPECT_EQ(std::pair(this->LastMode(), actual), std::pair(SHORT{file_in | file_out}, bytes));
        EXPECT_EQ(test::Contents<TypeParam>(copy.Get()), text);

        // The caller's mode is combined with file_in or file_out and otherwise passed on.
        EXPECT_EQ(copy->LoadFile(name.Get(), file_binary, &actual), S_OK);
        EXPECT_EQ(this->LastMode(), file_in | file_binary);
        EXPECT_EQ(copy->WriteFile(0, 1, name.Get(), file_app, &actual), S_OK);
        EXPECT_EQ(this->LastMode(), file_out | file_app);
    }
}

TYPED_TEST(ClientFileClass, ItsOpenFailurePassesThroughAndTheBufferStays) {
    ComPtr<IEditBuffer> buffer = this->ClientBuffer(kClientProgId, u"kept");
    ULONG actual = 7;
    EXPECT_EQ(buffer->LoadFile(Bstr(u"absent").Get(), file_in, &actual), STG_E_FILENOTFOUND);
    EXPECT_EQ(actual, 0u);
    EXPECT_EQ(test::Contents<TypeParam>(buffer.Get()), u"kept");
}

}  // namespace
}  // namespace scrivix
