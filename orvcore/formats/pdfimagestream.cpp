#include "orvcore/formats/pdfimagestream.h"

#include <algorithm>
#include <exception>

#include "orvcore/formats/pdfbilevel.h"
#include "orvcore/formats/pdfpixels.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

// Takes what a stream's filters give, up to a limit; what is beyond it is counted and dropped, so a stream made to unpack to an enormous
// size costs no memory.
class Collector : public Pipeline {
  public:
    Collector(std::size_t limit, const std::function<void()>& alive)
        : Pipeline("collector", nullptr), m_limit(limit), m_alive(alive) {}

    void write(const unsigned char* data, std::size_t size) override {
        if (m_stopped) return;
        m_sinceAlive += size;
        if (m_sinceAlive >= (std::size_t{1} << 20)) {
            m_sinceAlive = 0;
            // The library takes some exceptions for damaged data: keep this one until its code has returned.
            try {
                m_alive();
            } catch (...) {
                m_stopped = std::current_exception();
                throw;
            }
        }
        const std::size_t taken = std::min(size, m_limit - m_bytes.size());
        m_bytes.insert(m_bytes.end(), data, data + taken);
        m_cut = m_cut || taken < size;
    }
    void finish() override {}

    void RethrowStop() const {
        if (m_stopped) std::rethrow_exception(m_stopped);
    }
    Bytes Take() { return std::move(m_bytes); }
    bool IsCut() const { return m_cut; }

  private:
    std::size_t m_limit;
    const std::function<void()>& m_alive;
    Bytes m_bytes;
    std::size_t m_sinceAlive = 0;
    bool m_cut = false;
    std::exception_ptr m_stopped;
};

class Extractor {
  public:
    Extractor(QPDFObjectHandle stream, const PdfDumpOptions& options, std::size_t maximumBytes,
              const std::function<void()>& alive)
        : m_stream(stream),
          m_dictionary(stream.getDict()),
          m_options(options),
          m_maximumBytes(maximumBytes),
          m_alive(alive) {}

    PdfImageFiles Run() {
        ReadFilters();
        const std::string last = m_filters.empty() ? "" : m_filters.back();
        if (last == "/DCTDecode" || last == "/DCT") {
            Add("jpg", CodedData());
        } else if (last == "/JPXDecode") {
            Jpeg2000(CodedData());
        } else if (last == "/CCITTFaxDecode" || last == "/CCF") {
            Ccitt(CodedData());
        } else if (last == "/JBIG2Decode") {
            Jbig2(CodedData());
        } else {
            Samples();
        }
        return std::move(m_result);
    }

  private:
    void Problem(const std::string& text) { m_result.problems.push_back(text); }
    void Add(const std::string& extension, Bytes bytes) {
        if (bytes.empty())
            Problem("it holds no data");
        else
            m_result.files.push_back({extension, std::move(bytes)});
    }

    void ReadFilters() {
        QPDFObjectHandle filter = m_dictionary.getKey("/Filter");
        QPDFObjectHandle parameters = m_dictionary.getKey("/DecodeParms");
        const auto take = [this](QPDFObjectHandle name, QPDFObjectHandle values) {
            m_filters.push_back(name.isName() ? name.getName() : "");
            m_parameters.push_back(values.isDictionary() ? values : QPDFObjectHandle::newNull());
        };
        if (filter.isName()) {
            take(filter, parameters.isArray() && parameters.getArrayNItems() > 0 ? parameters.getArrayItem(0)
                                                                                 : parameters);
        } else if (filter.isArray()) {
            for (int i = 0; i < std::min(filter.getArrayNItems(), 32); ++i)
                take(filter.getArrayItem(i), parameters.isArray() && i < parameters.getArrayNItems()
                                                 ? parameters.getArrayItem(i)
                                                 : QPDFObjectHandle::newNull());
        }
    }

    Bytes Read(QPDFObjectHandle stream, qpdf_stream_decode_level_e level, std::size_t limit) {
        Collector collector(limit, m_alive);
        bool attempted = false;
        bool good = false;
        try {
            good = stream.pipeStreamData(&collector, &attempted, 0, level, true);
        } catch (const std::exception& e) {
            collector.RethrowStop();
        }
        collector.RethrowStop();
        if (level != qpdf_dl_none && !attempted)
            Problem("it is packed in a way that is not read");
        else if (!good)
            Problem("its data are damaged");
        // Samples may have more data than the picture needs; what its own coder wrote must be whole.
        if (collector.IsCut() && limit == m_maximumBytes)
            Problem("its data unpack to more than " + FormatFileSize(m_maximumBytes) + " and were cut there");
        return collector.Take();
    }

    // The data as the image's own coder wrote them: without encryption and without the filters around them.
    Bytes CodedData() {
        Bytes bytes = Read(m_stream, qpdf_dl_none, m_maximumBytes);
        if (m_filters.size() < 2) return bytes;
        QPDFObjectHandle names = QPDFObjectHandle::newArray();
        QPDFObjectHandle values = QPDFObjectHandle::newArray();
        for (std::size_t i = 0; i + 1 < m_filters.size(); ++i) {
            names.appendItem(QPDFObjectHandle::newName(m_filters[i]));
            values.appendItem(m_parameters[i]);
        }
        QPDFObjectHandle inner = m_stream.getOwningQPDF()->newStream(std::string(bytes.begin(), bytes.end()));
        inner.getDict().replaceKey("/Filter", names);
        inner.getDict().replaceKey("/DecodeParms", values);
        return Read(inner, qpdf_dl_specialized, m_maximumBytes);
    }

    QPDFObjectHandle CoderParameter(const std::string& key) {
        return m_parameters.empty() || !m_parameters.back().isDictionary() ? QPDFObjectHandle::newNull()
                                                                           : m_parameters.back().getKey(key);
    }
    int Number(const std::string& key, int otherwise) {
        QPDFObjectHandle value = CoderParameter(key);
        if (!value.isInteger()) return otherwise;
        return static_cast<int>(std::clamp<long long>(value.getIntValue(), -1, 1000000));
    }
    bool Flag(const std::string& key) {
        QPDFObjectHandle value = CoderParameter(key);
        return value.isBool() && value.getBoolValue();
    }

    void Jpeg2000(const Bytes& data) {
        if (m_options.convertJpeg2000) {
            try {
                const DecodedImage decoded = DecodeImage(data, [this](double) { m_alive(); });
                for (const std::string& warning : decoded.warnings)
                    Problem("while it was converted: " + warning);
                Add("png", EncodeImage(decoded.image, "png"));
                return;
            } catch (const ZorException& e) {
                if (e.GetKind() == ZorException::Kind::Aborted) throw;
                Problem("it could not be converted and was written as it is: " + e.GetMessage());
            }
        }
        // A bare code stream is another format than the file with boxes around it.
        const bool bare = data.size() > 2 && data[0] == 0xFF && data[1] == 0x4F;
        Add(bare ? "j2k" : "jp2", data);
    }

    // One bit per pixel as unpacked by its coder; false when there is nothing.
    bool Bilevel(const std::optional<Bytes>& rows) {
        PdfSampling sampling = ReadPdfSampling(m_dictionary);
        sampling.bits = 1;
        sampling.components = 1;
        if (sampling.model != PdfSampling::Model::Indexed && sampling.model != PdfSampling::Model::Ink)
            sampling.model = PdfSampling::Model::Grey;
        if (!rows) return false;
        Add("png", EncodeImage(PdfSamplesToImage(sampling, *rows), "png"));
        return true;
    }

    // Bits cost little in the file and a byte each in the picture.
    bool HasRoom(const PdfSampling& sampling) {
        const double pixels = static_cast<double>(sampling.width) * static_cast<double>(sampling.height);
        if (pixels <= static_cast<double>(m_maximumBytes)) return true;
        Problem("it claims more pixels than its file can hold, and was written as it is");
        return false;
    }

    void Ccitt(const Bytes& data) {
        const PdfSampling sampling = ReadPdfSampling(m_dictionary);
        if (m_options.convertCcitt && HasRoom(sampling)) {
            CcittParameters parameters;
            parameters.k = Number("/K", 0);
            parameters.columns = Number("/Columns", 1728);
            parameters.rows = sampling.height;
            parameters.byteAlign = Flag("/EncodedByteAlign");
            parameters.blackIs1 = Flag("/BlackIs1");
            if (sampling.width == parameters.columns && Bilevel(DecodeCcitt(data, parameters))) return;
            Problem("it could not be converted and was written as it is");
        }
        Add("ccitt", data);
    }

    void Jbig2(const Bytes& data) {
        QPDFObjectHandle shared = CoderParameter("/JBIG2Globals");
        Bytes globals;
        if (shared.isStream()) globals = Read(shared, qpdf_dl_specialized, m_maximumBytes);
        const PdfSampling sampling = ReadPdfSampling(m_dictionary);
        if (m_options.convertJbig2 && HasRoom(sampling)) {
            std::string complaint;
            const bool converted =
                Bilevel(DecodeJbig2(data, globals, sampling.width, sampling.height, complaint));
            if (!converted)
                Problem("it could not be converted and was written as it is");
            else if (complaint.empty())
                Problem("decoded, not verified: its data were written beside its picture");
            else
                Problem("decoded, not verified, and its picture may be wrong (" + complaint +
                        "): its data were written beside it");
        }
        Add("jb2", data);
        if (!globals.empty()) Add("jb2g", globals);
    }

    void Samples() {
        const PdfSampling sampling = ReadPdfSampling(m_dictionary);
        if (!sampling.problem.empty()) {
            Problem(sampling.problem);
            Add("bin", Read(m_stream, qpdf_dl_specialized, m_maximumBytes));
            return;
        }
        if (sampling.DataBytes() > m_maximumBytes) {
            Problem("it claims " + FormatFileSize(sampling.DataBytes()) +
                    " of samples, which its file cannot hold");
            return;
        }
        const Bytes samples = Read(m_stream, qpdf_dl_specialized, sampling.DataBytes());
        if (samples.empty()) {
            Problem("it holds no data");
            return;
        }
        if (samples.size() < sampling.DataBytes()) Problem("its data end early");
        m_alive();
        const Image image = PdfSamplesToImage(sampling, samples);
        m_alive();
        Add("png", EncodeImage(image, "png"));
    }

    QPDFObjectHandle m_stream;
    QPDFObjectHandle m_dictionary;
    const PdfDumpOptions& m_options;
    const std::size_t m_maximumBytes;
    const std::function<void()>& m_alive;
    std::vector<std::string> m_filters;
    std::vector<QPDFObjectHandle> m_parameters;
    PdfImageFiles m_result;
};

}  // namespace

PdfImageFiles ExtractPdfImage(const QPDFObjectHandle& stream, const PdfDumpOptions& options,
                              std::size_t maximumBytes, const std::function<void()>& alive) {
    return Extractor(stream, options, maximumBytes, alive).Run();
}
