#include "orvcore/formats/extendedxmp.h"
#include "orvcore/formats/fields/iccfacts.h"
#include "orvcore/formats/fields/metadataplaces.h"
#include "zorbase/text.h"

namespace {

void Expect(bool holds) {
    if (!holds) __builtin_trap();
}

}  // namespace

// The program's own readers of metadata, on any bytes: as a file, as a colour profile, as a maker note.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ByteSpan bytes(data, size);
    const MetadataPlaces places =
        FindMetadataPlaces(bytes, bytes.size() > 200 ? bytes.subspan(50, 150) : ByteSpan());
    for (const IptcPlace& place : places.iptc)
        Expect(place.offset <= size && place.size <= size - place.offset);
    if (places.makerNote)
        for (const MakerNoteEntry& entry : places.makerNote->entries) {
            Expect(!entry.isInBlock || entry.valueOffset + entry.valueSize <= places.exifBytes.size());
            MakerNoteValue(places.exifBytes, *places.makerNote, entry);
        }
    const ExtendedXmp extended = ReadExtendedXmp(bytes, "");
    Expect(extended.packet.size() <= size);
    for (const MetadataEntry& entry : IccEntries(ReadIccFacts(bytes)))
        Expect(ToValidUtf8(entry.value) == entry.value);
    if (size > 1) {
        static constexpr const char* kMakes[] = {"Canon", "Nikon", "Acme"};
        const std::size_t from = data[0] % size;
        const MakerNote note = ReadMakerNote(bytes, data[1] % 2 == 0, from, size - from, kMakes[data[1] % 3]);
        for (const MakerNoteEntry& entry : note.entries) MakerNoteValue(bytes, note, entry);
    }
    return 0;
}
