#include "zorimage/latecodec.h"

#include <dlfcn.h>

#include <filesystem>

#include "zorbase/zorexception.h"

namespace codec {

namespace {

const LateCodec& Load(const std::string& name) {
    Dl_info own{};
    std::filesystem::path path = name;
    if (dladdr(reinterpret_cast<const void*>(&HeifModule), &own) != 0 && own.dli_fname != nullptr)
        path = std::filesystem::path(own.dli_fname).parent_path() / name;
    void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    const void* found = module != nullptr ? dlsym(module, "zorimageLateCodec") : nullptr;
    if (found == nullptr) {
        const char* reason = dlerror();
        ZOR_THROW(Internal, "The part of the program that reads this format cannot be loaded: " +
                                std::string(reason != nullptr ? reason : name.c_str()) + ".");
    }
    return *static_cast<const LateCodec*>(found);
}

}  // namespace

const LateCodec& HeifModule() {
    static const LateCodec& s_module = Load("zorimage_heif.so");
    return s_module;
}

const LateCodec& RawModule() {
    static const LateCodec& s_module = Load("zorimage_raw.so");
    return s_module;
}

void ReadHeifInfo(ByteSpan bytes, ImageInfo& info) {
    HeifModule().readInfo(bytes, info);
}

DecodedImage DecodeHeif(ByteSpan bytes, const DecodeProgress& progress) {
    return HeifModule().decode(bytes, progress);
}

void ReadRawInfo(ByteSpan bytes, ImageInfo& info) {
    RawModule().readInfo(bytes, info);
}

DecodedImage DecodeRaw(ByteSpan bytes, const DecodeProgress& progress) {
    return RawModule().decode(bytes, progress);
}

}  // namespace codec
