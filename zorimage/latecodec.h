#pragma once

#include <string>

#include "zorimage/codec.h"

// Formats that few files have and whose libraries are large (video decoders among them): each is read by a module of its own, a shared
// library beside this one, which is loaded with the first file of that format. The program starts without them. Private to zorimage.
namespace codec {

// What such a module gives.
struct LateCodec {
    void (*readInfo)(ByteSpan bytes, ImageInfo& info);
    DecodedImage (*decode)(ByteSpan bytes, const DecodeProgress& progress);
    std::string (*version)();  // of the library, as it is at run time
};

// Loads the module at the first call and keeps it until the process ends. Throws ZorException of kind Internal where it is not there or
// cannot be loaded. Any thread.
const LateCodec& HeifModule();
const LateCodec& RawModule();

}  // namespace codec

// The one thing that a module shows, under the same name in each.
#define ZORIMAGE_LATE_CODEC(readInfo, decode, version)                                      \
    extern "C" {                                                                            \
    extern __attribute__((visibility("default"))) const codec::LateCodec zorimageLateCodec; \
    const codec::LateCodec zorimageLateCodec = {readInfo, decode, version};                 \
    }
