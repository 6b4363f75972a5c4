#include "orvcore/formats/pdfimages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <zlib.h>

#include <algorithm>
#include <ctime>
#include <set>

#include "orvcore/formats/pdfpages.h"
#include "orvcore/formats/qpdfheaders.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/hash.h"
#include "zorbase/json.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

using namespace formatsupport;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::string Deflated(const std::string& text) {
    uLongf size = compressBound(text.size());
    std::string packed(size, '\0');
    compress(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(text.data()),
             text.size());
    packed.resize(size);
    return packed;
}

// The beginning of a document: a packed list of objects that unpacks to so many bytes.
Bytes WithObjectList(std::size_t unpacked) {
    return ToBytes("%PDF-1.5\n1 0 obj<</Type/ObjStm/Filter/FlateDecode>>stream\n" +
                   Deflated(std::string(unpacked, ' ')) + "\nendstream endobj\n");
}

// A document in the making.
class Document {
  public:
    Document() { m_pdf.emptyPDF(); }
    QPDFObjectHandle Stream(const std::string& dictionary, const std::string& data) {
        QPDFObjectHandle stream = m_pdf.makeIndirectObject(QPDFObjectHandle::newStream(&m_pdf, data));
        stream.replaceDict(QPDFObjectHandle::parse("<<" + dictionary + ">>"));
        return stream;
    }
    QPDFObjectHandle Image(const std::string& dictionary, const Bytes& data) {
        return Stream("/Type /XObject /Subtype /Image " + dictionary, std::string(data.begin(), data.end()));
    }
    static QPDFObjectHandle Named(const std::vector<QPDFObjectHandle>& objects) {
        QPDFObjectHandle names = QPDFObjectHandle::newDictionary();
        for (std::size_t i = 0; i < objects.size(); ++i)
            names.replaceKey("/X" + std::to_string(i), objects[i]);
        QPDFObjectHandle resources = QPDFObjectHandle::newDictionary();
        resources.replaceKey("/XObject", names);
        return resources;
    }
    void Page(const std::vector<QPDFObjectHandle>& objects, const std::string& content = "",
              const QPDFObjectHandle& resources = {}, bool isPacked = false) {
        QPDFObjectHandle page =
            m_pdf.makeIndirectObject(QPDFObjectHandle::parse("<< /Type /Page /MediaBox [0 0 100 100] >>"));
        page.replaceKey("/Resources", resources.isInitialized() ? resources : Named(objects));
        page.replaceKey("/Contents",
                        isPacked ? Stream("/Filter /FlateDecode", Deflated(content)) : Stream("", content));
        m_pdf.addPage(page, false);
    }
    void LoopPages() {
        QPDFObjectHandle tree = m_pdf.getRoot().getKey("/Pages");
        tree.getKey("/Kids").appendItem(tree);
    }
    Bytes Write(const std::string& user = "", const std::string& owner = "") {
        QPDFWriter writer(m_pdf);
        writer.setOutputMemory();
        writer.setStreamDataMode(qpdf_s_preserve);
        if (!owner.empty())
            writer.setR6EncryptionParameters(user.c_str(), owner.c_str(), true, true, true, true, true, true,
                                             qpdf_r3p_full, true);
        writer.write();
        const auto buffer = writer.getBufferSharedPointer();
        return Bytes(buffer->getBuffer(), buffer->getBuffer() + buffer->getSize());
    }

  private:
    QPDF m_pdf;
};

PdfDumpResult DumpFile(const std::string& path, const std::string& folder, const PdfDumpOptions& options,
                       const std::function<void(double)>& progress = {}) {
    return DumpPdfImages(ReadFileBytes(path), folder, PathStem(path), options, progress);
}

// Dumps a document and keeps what came out.
struct Dump {
    TemporaryFolder folder;
    PdfDumpResult result;
    explicit Dump(const Bytes& document, const PdfDumpOptions& options = {}) {
        WriteFile(folder / "doc.pdf", document);
        result = DumpFile(folder / "doc.pdf", folder / "out", options);
    }
    std::vector<std::string> Extensions() const {
        std::vector<std::string> extensions;
        for (const std::string& file : result.files) extensions.push_back(PathExtension(file));
        std::sort(extensions.begin(), extensions.end());
        return extensions;
    }
    Bytes Content(std::size_t i = 0) const { return ReadFileBytes(result.files.at(i)); }
};

std::string SizeText(int width, int height) {
    return "/Width " + std::to_string(width) + " /Height " + std::to_string(height) + " ";
}

ZorException::Kind KindThrown(const Bytes& document, const PdfDumpOptions& options) {
    try {
        Dump dump(document, options);
    } catch (const ZorException& e) {
        return e.GetKind();
    }
    return ZorException::Kind::Internal;
}

}  // namespace

TEST(PdfImages, WritesJpegUnchangedAndEachObjectOnce) {
    Document document;
    const Bytes jpeg = MakeJpeg();
    const Bytes other = MakeJpeg({.seed = 2});
    const auto image = document.Image(
        SizeText(48, 32) + "/ColorSpace /DeviceRGB /BitsPerComponent 8 /Filter /DCTDecode", jpeg);
    const auto mask =
        document.Image(SizeText(2, 1) + "/ColorSpace /DeviceGray /BitsPerComponent 8", {0, 200});
    auto masked = document.Image(
        SizeText(48, 32) + "/ColorSpace /DeviceRGB /BitsPerComponent 8 /Filter [/DCTDecode]", other);
    masked.getDict().replaceKey("/SMask", mask);
    // Two forms that name each other.
    auto form = document.Stream("/Type /XObject /Subtype /Form /BBox [0 0 1 1]", "");
    auto inner = document.Stream("/Type /XObject /Subtype /Form /BBox [0 0 1 1]", "");
    form.getDict().replaceKey("/Resources", Document::Named({inner}));
    inner.getDict().replaceKey("/Resources", Document::Named({form, masked}));
    document.Page({image, image});
    document.Page({form, image});
    const Dump dump(document.Write());
    EXPECT_EQ(dump.result.pages, 2);
    EXPECT_THAT(dump.Extensions(), ElementsAre("jpg", "jpg", "png"));
    EXPECT_EQ(dump.Content(0), jpeg);
    EXPECT_THAT(dump.result.files[0], HasSubstr("/doc_p0001_o"));
    EXPECT_TRUE(dump.result.warnings.empty()) << testing::PrintToString(dump.result.warnings);

    EXPECT_THAT(Dump(document.Write(), {.firstPage = 2, .lastPage = 9}).result.files[0],
                HasSubstr("_p0002_"));
    EXPECT_EQ(KindThrown(document.Write(), {.firstPage = 3}), ZorException::Kind::Argument);
    EXPECT_EQ(KindThrown(document.Write(), {.firstPage = 2, .lastPage = 1}), ZorException::Kind::Argument);
}

TEST(PdfImages, ConvertsSamples) {
    struct Case {
        const char* what;
        std::string dictionary;
        Bytes data;
        std::vector<int> first;  // grey, or red green blue, of the first pixel
        std::vector<int> second;
        int depth = 8;
    };
    const Case cases[] = {
        {"1 bit", "/ColorSpace /DeviceGray /BitsPerComponent 1", {0x40}, {0}, {255}},
        {"1 bit, reversed", "/ColorSpace /DeviceGray /BitsPerComponent 1 /Decode [1 0]", {0x40}, {255}, {0}},
        {"mask", "/ImageMask true", {0x80}, {255}, {0}},
        {"2 bits", "/ColorSpace /DeviceGray /BitsPerComponent 2", {0x90}, {170}, {85}},
        {"4 bits", "/ColorSpace /CalGray /BitsPerComponent 4", {0xF1}, {255}, {17}},
        {"8 bits",
         "/ColorSpace /DeviceRGB /BitsPerComponent 8",
         {10, 20, 30, 40, 50, 60},
         {10, 20, 30},
         {40, 50, 60}},
        {"16 bits",
         "/ColorSpace /DeviceGray /BitsPerComponent 16",
         {0x12, 0x34, 0xFF, 0xFF},
         {0x1234},
         {0xFFFF},
         16},
        {"cmyk",
         "/ColorSpace /DeviceCMYK /BitsPerComponent 8",
         {255, 0, 0, 0, 0, 0, 0, 255},
         {0, 255, 255},
         {0, 0, 0}},
        {"palette",
         "/ColorSpace [/Indexed /DeviceRGB 1 <010203FF0080>] /BitsPerComponent 8",
         {1, 0},
         {255, 0, 128},
         {1, 2, 3}},
        {"index beyond the palette",
         "/ColorSpace [/Indexed /DeviceRGB 1 <010203FF0080>] /BitsPerComponent 8",
         {9, 0},
         {255, 0, 128},
         {1, 2, 3}},
        {"one ink",
         "/ColorSpace [/Separation /Spot /DeviceCMYK null] /BitsPerComponent 8",
         {0, 255},
         {255},
         {0}},
        {"run length",
         "/ColorSpace /DeviceGray /BitsPerComponent 8 /Filter /RunLengthDecode",
         {255, 7, 128},
         {7},
         {7}},
        {"hexadecimal",
         "/ColorSpace /DeviceGray /BitsPerComponent 8 /Filter /ASCIIHexDecode",
         ToBytes("0a0B>"),
         {10},
         {11}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Document document;
        document.Page({document.Image(SizeText(2, 1) + c.dictionary, c.data)});
        const Dump dump(document.Write());
        ASSERT_THAT(dump.Extensions(), ElementsAre("png")) << testing::PrintToString(dump.result.warnings);
        const Image image = DecodeImage(dump.Content()).image;
        ASSERT_EQ(image.GetWidth(), 2);
        EXPECT_EQ(image.GetDepth(), c.depth);
        const auto pixel = [&image](int x) {
            std::vector<int> values;
            for (int channel = image.GetChannels(); channel-- > 0;) {
                const int at = x * image.GetChannels() + channel;
                values.push_back(image.GetDepth() == 16 ? image.GetMat().ptr<std::uint16_t>(0)[at]
                                                        : image.GetMat().ptr<std::uint8_t>(0)[at]);
            }
            return values;
        };
        EXPECT_EQ(pixel(0), c.first);
        EXPECT_EQ(pixel(1), c.second);
    }
}

TEST(PdfImages, TakesInlineImages) {
    Document document;
    document.Page(
        {}, std::string(
                "q BI /W 2 /H 1 /CS /G /BPC 8 ID \x05\x63 EI Q q BI /W 1 /H 1 /CS /RGB /BPC 8 ID abc EI Q"));
    const Dump dump(document.Write());
    EXPECT_THAT(dump.Extensions(), ElementsAre("png", "png"));
    EXPECT_THAT(dump.result.files[0], HasSubstr("_p0001_i1.png"));
}

TEST(PdfImages, RawDataWhereNothingIsConverted) {
    Document document;
    document.Page(
        {document.Image(SizeText(8, 1) +
                            "/ColorSpace /DeviceGray /BitsPerComponent 1 /Filter /CCITTFaxDecode "
                            "/DecodeParms << /K -1 /Columns 8 >>",
                        {0x80, 0x01}),
         document.Image(SizeText(8, 1) + "/BitsPerComponent 1 /Filter /JBIG2Decode", {1, 2, 3}),
         document.Image(SizeText(8, 1) + "/Filter /JPXDecode", {0xFF, 0x4F, 0xFF}),
         document.Image(SizeText(2, 1) + "/ColorSpace [/DeviceN [/A /B] /DeviceRGB null] /BitsPerComponent 8",
                        {1, 2, 3, 4}),
         document.Image(SizeText(2000000, 2000000) + "/ColorSpace /DeviceGray /BitsPerComponent 8", {1}),
         document.Image(SizeText(8, 100) + "/ColorSpace /DeviceGray /BitsPerComponent 8", Bytes(16, 7))});
    const Dump kept(document.Write(), {.convertJbig2 = false, .convertCcitt = false});
    EXPECT_THAT(kept.Extensions(), ElementsAre("bin", "bin", "ccitt", "j2k", "jb2", "png"));
    EXPECT_EQ(kept.result.warnings.size(), 3U) << testing::PrintToString(kept.result.warnings);
    // Data that cannot be converted are kept, and said so.
    const Dump asked(document.Write(), {.convertJpeg2000 = true});
    EXPECT_THAT(asked.Extensions(), testing::Contains("j2k"));
    EXPECT_GT(asked.result.warnings.size(), 3U);
}

TEST(PdfImages, NeedsThePassword) {
    Document document;
    document.Page({document.Image(SizeText(48, 32) + "/Filter /DCTDecode", MakeJpeg())});
    const Bytes locked = document.Write("p\xC3\xA4ss IX", "owner");
    EXPECT_EQ(KindThrown(locked, {}), ZorException::Kind::Argument);
    EXPECT_EQ(KindThrown(locked, {.ownerPassword = "wrong", .userPassword = "x"}),
              ZorException::Kind::Argument);
    EXPECT_EQ(Dump(locked, {.ownerPassword = "owner"}).Content(), MakeJpeg());
    EXPECT_EQ(Dump(locked, {.userPassword = "p\xC3\xA4ss IX"}).Content(), MakeJpeg());
    // The same after preparation: a soft hyphen goes, the Roman numeral nine becomes two letters.
    EXPECT_EQ(Dump(locked, {.userPassword = "p\xC2\xAD\xC3\xA4ss \xE2\x85\xA8"}).Content(), MakeJpeg());
}

TEST(PdfImages, DamagedDocuments) {
    EXPECT_EQ(KindThrown(ToBytes("no document"), {}), ZorException::Kind::Format);
    EXPECT_EQ(KindThrown({}, {}), ZorException::Kind::Format);
    Document document;
    document.Page({document.Image(SizeText(48, 32) + "/Filter /DCTDecode", MakeJpeg())});
    Bytes bytes = document.Write();
    const std::string text(bytes.begin(), bytes.end());
    const std::size_t table = text.rfind("xref\n", text.rfind("startxref"));
    for (std::size_t i = table; i + 1 < text.find("trailer", table); ++i) bytes[i] = 'x';
    const Dump broken(bytes);
    EXPECT_EQ(broken.Content(), MakeJpeg());
    EXPECT_FALSE(broken.result.warnings.empty());
    for (std::size_t i = 0; i < text.size(); i += 7) {
        Bytes damaged = document.Write();
        damaged[i] ^= 0x24;
        try {
            Dump dump(damaged);
        } catch (const ZorException&) {
        }
    }
}

// Pictures that are drawn without being named in a page's resources.
TEST(PdfImages, FindsPicturesOfSoftMasksAndTiles) {
    const std::string inlined = "BI /W 1 /H 1 /CS /G /BPC 8 ID A EI";
    const auto jpeg = [](Document& document, unsigned seed) {
        return document.Image(
            SizeText(48, 32) + "/ColorSpace /DeviceRGB /BitsPerComponent 8 /Filter /DCTDecode",
            MakeJpeg({.seed = seed}));
    };
    Document document;
    auto group = document.Stream("/Type /XObject /Subtype /Form /BBox [0 0 1 1]", inlined);
    group.getDict().replaceKey("/Resources", Document::Named({jpeg(document, 2)}));
    auto tile = document.Stream(
        "/Type /Pattern /PatternType 1 /PaintType 1 /TilingType 1 /BBox [0 0 9 9] /XStep 9 /YStep 9",
        inlined);
    QPDFObjectHandle resources = Document::Named({});
    resources.replaceKey("/ExtGState", QPDFObjectHandle::parse("<< /G0 << /SMask /None >> >>"));
    QPDFObjectHandle state = QPDFObjectHandle::parse("<< /SMask << /S /Luminosity >> >>");
    state.getKey("/SMask").replaceKey("/G", group);
    resources.getKey("/ExtGState").replaceKey("/G1", state);
    resources.replaceKey("/Pattern", QPDFObjectHandle::newDictionary());
    resources.getKey("/Pattern").replaceKey("/P", tile);
    document.Page({}, "", resources);
    const Dump dump(document.Write());
    EXPECT_THAT(dump.Extensions(), ElementsAre("jpg", "png", "png"));
    bool wasFound = false;
    for (std::size_t i = 0; i < 3; ++i) wasFound = wasFound || dump.Content(i) == MakeJpeg({.seed = 2});
    EXPECT_TRUE(wasFound);
}

TEST(PdfImages, HostileDocumentsEndSoon) {
    const std::clock_t start = std::clock();
    // A page tree 30,000 deep, with the picture in the resources of its top.
    std::string tree =
        "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 3 0 R>>endobj\n"
        "2 0 obj<</Type/XObject/Subtype/Image/Width 1/Height 1/BitsPerComponent 8/ColorSpace/DeviceGray"
        "/Length 1>>stream\nA\nendstream endobj\n";
    constexpr int kDepth = 30000;
    for (int i = 0; i < kDepth; ++i) {
        const std::string number = std::to_string(i + 3);
        tree += number + " 0 obj<</Type/Pages/Count 1" +
                (i == 0 ? "/Resources<</XObject<</I 2 0 R>>>>" : "") +
                (i == 0 ? "" : "/Parent " + std::to_string(i + 2) + " 0 R") + "/Kids[" +
                std::to_string(i + 4) + " 0 R]>>endobj\n";
    }
    tree += std::to_string(kDepth + 3) + " 0 obj<</Type/Page/MediaBox[0 0 9 9]/Parent " +
            std::to_string(kDepth + 2) + " 0 R>>endobj\ntrailer<</Root 1 0 R/Size " +
            std::to_string(kDepth + 4) + ">>\n";
    EXPECT_THAT(Dump(ToBytes(tree)).Extensions(), ElementsAre("png"));

    // A tree that leads back to itself.
    Document looped;
    looped.Page({looped.Image(SizeText(48, 32) + "/Filter /DCTDecode", MakeJpeg())});
    looped.LoopPages();
    EXPECT_THAT(Dump(looped.Write()).result.warnings, testing::Contains(HasSubstr("back to itself")));

    // Drawing commands that unpack to far more than is looked through; the page's named picture comes all the same.
    Document commands;
    commands.Page({commands.Image(SizeText(48, 32) + "/Filter /DCTDecode", MakeJpeg())},
                  std::string(kMaxPdfContent + 1000, ' '), {}, true);
    const Dump dump(commands.Write());
    EXPECT_THAT(dump.Extensions(), ElementsAre("jpg"));
    EXPECT_THAT(dump.result.warnings, testing::Contains(HasSubstr("were not looked for")));

    // Lists of objects packed like that, and packed twice, are not opened at all.
    EXPECT_EQ(PdfStructureProblem(WithObjectList(std::size_t{8} << 20)), "");
    EXPECT_THAT(PdfStructureProblem(WithObjectList(std::size_t{64} << 20)), HasSubstr("unpack to more than"));
    EXPECT_THAT(
        PdfStructureProblem(ToBytes("1 0 obj<</Type/ObjStm/Filter[/FlateDecode/FlateDecode]>>stream\nx")),
        HasSubstr("packed twice"));
    EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, 20.0) << "seconds of work";
}

TEST(PdfImages, StopsWhenAsked) {
    Document document;
    document.Page({document.Image(SizeText(48, 32) + "/Filter /DCTDecode", MakeJpeg())});
    TemporaryFolder folder;
    WriteFile(folder / "doc.pdf", document.Write());
    double last = 0;
    DumpFile(folder / "doc.pdf", folder / "out", {}, [&](double done) {
        EXPECT_GE(done, last);
        last = done;
    });
    EXPECT_EQ(last, 1.0);
    int calls = 0;
    EXPECT_THROW(DumpFile(folder / "doc.pdf", folder / "none", {},
                          [&](double) {
                              if (++calls == 2) throw std::runtime_error("stop");
                          }),
                 std::runtime_error);
    EXPECT_FALSE(FolderExists(folder / "none"));
}

TEST(PdfImagesFixtures, GivesTheKnownStreams) {
    NEED_FIXTURES();
    int documents = 0;
    for (const Json& entry : JsonFromText(ReadFile(Fixtures() + "/synth/truth_files.json"))) {
        if (!entry.contains("pages")) continue;
        const std::string file = entry["file"];
        SCOPED_TRACE(file);
        PdfDumpOptions options;
        if (entry.contains("user_password")) options.userPassword = entry["user_password"];
        TemporaryFolder folder;
        const PdfDumpResult result = DumpFile(Fixtures() + "/synth/" + file, folder.Path(), options);
        std::set<std::string> hashes;
        for (const std::string& path : result.files) hashes.insert(Sha256(ReadFile(path)));
        std::set<std::string> sources;
        for (const Json& page : entry["pages"]) {
            sources.insert(page["sha256"]);
            if (page["byte_identical"] == true) {
                EXPECT_TRUE(hashes.count(page["sha256"])) << page["source"];
            }
        }
        EXPECT_EQ(result.files.size(), sources.size());
        EXPECT_TRUE(result.warnings.empty()) << testing::PrintToString(result.warnings);
        if (entry.contains("owner_password")) {
            options = {};
            options.ownerPassword = entry["owner_password"];
            EXPECT_EQ(DumpFile(Fixtures() + "/synth/" + file, folder.Path(), options).files.size(),
                      sources.size());
            options.ownerPassword = "wrong";
            EXPECT_THROW(DumpFile(Fixtures() + "/synth/" + file, folder.Path(), options), ZorException);
        }
        ++documents;
    }
    EXPECT_EQ(documents, 5);
}
