#include "orvcore/filter/filter.h"

#include <algorithm>
#include <utility>

#include "orvcore/filter/mappictures.h"
#include "orvcore/filter/parameterfiles.h"
#include "orvcore/filter/resultcache.h"
#include "orvcore/model/memorybudget.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

OrvPageFactory& PageFactory() {
    static OrvPageFactory factory;
    return factory;
}

std::function<void(const OrvFilter&)>& PageSource() {
    static std::function<void(const OrvFilter&)> source;
    return source;
}

std::string IdFromName(const std::string& name) {
    std::string id = ToLower(name);
    std::replace(id.begin(), id.end(), ' ', '-');
    return id;
}

}  // namespace

OrvFilter::OrvFilter(const wxString& name, const std::string& id) : m_name(FromWx(name)), m_id(id) {
    m_configurations.emplace_back(VecParameter());
    m_memory = std::make_shared<HeldMemory>(this);
}

OrvFilter::OrvFilter(const wxString& name) : OrvFilter(name, IdFromName(FromWx(name))) {}

// What the memory budget holds of a filter: it may live a little longer than the filter.
class OrvFilter::HeldMemory : public OrvDroppable {
  public:
    explicit HeldMemory(OrvFilter* filter) : m_filter(filter) {}
    void Leave() {
        const std::lock_guard lock(m_mutex);
        m_filter = nullptr;
    }
    std::size_t Drop() override {
        const std::lock_guard lock(m_mutex);
        return m_filter != nullptr ? m_filter->DropPictures() : 0;
    }

  private:
    std::mutex m_mutex;
    OrvFilter* m_filter;
};

OrvFilter::~OrvFilter() {
    m_memory->Leave();
}

std::size_t OrvFilter::DropPictures() {
    std::vector<OrvFilterResultPtr> gone;  // freed after the lock is
    const std::lock_guard lock(m_mutex);
    std::size_t rest = 0;
    for (OrvFilterResultPtr& held : m_held) {
        const bool isShown = m_isShown && m_isCurrent && held == m_held.front();
        const std::size_t bytes = held->GetBytes();
        if (bytes == 0) continue;
        if (isShown || held.use_count() > 1) {
            rest += bytes;
            continue;
        }
        gone.push_back(std::exchange(held, held->MakeLight()));
    }
    return rest;
}

void OrvFilter::NoteMemory() {
    std::size_t bytes = 0;
    {
        const std::lock_guard lock(m_mutex);
        for (const OrvFilterResultPtr& held : m_held) bytes += held->GetBytes();
    }
    OrvMemoryBudget::Get().Note(m_memory, bytes);
}

void OrvFilter::SetShown(bool shown) {
    const std::lock_guard lock(m_mutex);
    m_isShown = shown;
}

wxString OrvFilter::GetName() const {
    return ToWx(m_name);
}

wxString OrvFilter::GetDescription() const {
    return ToWx(m_description);
}

wxString OrvFilter::GetAnalysisTypeString() const {
    return ToWx(m_analysisType);
}

void OrvFilter::Describe(const std::string& analysisType, const std::string& description) {
    m_analysisType = analysisType;
    m_description = description;
}

void OrvFilter::SetParameters(VecParameter input, VecParameter postProcessing, VecParameter output) {
    m_inputPrototype = std::move(input);
    m_postPrototype = std::move(postProcessing);
    m_outputPrototype = std::move(output);
    m_requestedInput = m_inputPrototype;
    m_requestedPost = m_postPrototype;
    m_defaultConfigurations.assign(1, OrvFilterConfiguration(m_inputPrototype));
    m_configurations = m_defaultConfigurations;
}

void OrvFilter::AddDefaultConfiguration(const VecParameter& parameters) {
    m_defaultConfigurations.emplace_back(parameters);
    m_configurations = m_defaultConfigurations;
}

VecParameter OrvFilter::GetParametersInput() const {
    const std::lock_guard lock(m_mutex);
    return m_requestedInput;
}

VecParameter OrvFilter::GetParametersPostProcessing() const {
    const std::lock_guard lock(m_mutex);
    return m_requestedPost;
}

VecParameter OrvFilter::GetParametersOutput() const {
    const OrvFilterResultPtr result = GetResult();
    return result ? result->output : m_outputPrototype;
}

OrvFilterResultPtr OrvFilter::GetResult() const {
    const std::lock_guard lock(m_mutex);
    return m_held.empty() || !m_isCurrent ? nullptr : m_held.front();
}

wxString OrvFilter::GetErrorMessage() const {
    const std::lock_guard lock(m_mutex);
    return ToWx(m_error);
}

Image OrvFilter::GetInputImage(OrvFileId slot) const {
    const OrvFilterResultPtr result = GetResult();
    if (!result || !result->slot[slot]) return {};
    const OrvSlotResult& found = *result->slot[slot];
    if (found.inputImage.IsValid() || !found.outputImage.IsValid()) return found.inputImage;
    // The file's own, which the run has decoded; nobody waits for it here.
    const OrvFilePtr& file = result->file[slot];
    try {
        return file && file->IsDecoded() ? file->GetDecoded(OrvJob())->image : Image();
    } catch (const ZorException&) {
        return {};  // what is shown is another picture out of a file whose own cannot be read
    }
}

Image OrvFilter::GetOutputImage(OrvFileId slot) const {
    const OrvFilterResultPtr result = GetResult();
    return result ? result->GetPicture(slot) : Image();
}

OrvPlotData OrvFilterPlot::GetPlotDataCopy(OrvFileId slot) const {
    const OrvFilterResultPtr result = GetResult();
    return result && result->slot[slot] ? result->slot[slot]->plot : OrvPlotData();
}

OrvFilterGuiBase* OrvFilter::CreateAnalysisPanel(wxWindow* parent, OrvFilter* filter) {
    m_page = CreatePanel(parent, filter);
    return m_page;
}

OrvFilterGuiBase* OrvFilter::GetAnalsyisFilterGui() const {
    if (m_page == nullptr && PageSource()) PageSource()(*this);
    return m_page;
}

void OrvFilter::SetPageSource(std::function<void(const OrvFilter& filter)> source) {
    PageSource() = std::move(source);
}

void OrvFilter::SetPageFactory(OrvPageFactory factory) {
    PageFactory() = std::move(factory);
}

OrvFilterGuiBase* OrvFilter::CreatePanel(wxWindow* parent, OrvFilter* filter) {
    return PageFactory() ? PageFactory()(parent, filter) : nullptr;
}

std::string OrvFilter::WhyNot(const OrvLoadedFile&, const VecParameter&) const {
    return {};
}

void OrvFilter::Compute(const OrvLoadedFile&, const VecParameter&, const OrvJob&, OrvSlotResult&) const {}

void OrvFilter::ComputeBoth(const OrvLoadedFile&, const OrvLoadedFile&, const VecParameter&, const OrvJob&,
                            OrvSlotResult&, OrvSlotResult&) const {}

void OrvFilter::PostProcess(const VecParameter&, const OrvJob&, OrvSlotResult&) const {}

// The numbers of both files in one table, a row per quantity, in the order of the evidence.
static void MergeNumbers(VecParameter& output) {
    Parameter* numbers = output.Find("numbers");
    if (numbers == nullptr || numbers->Type() != ParameterType::TableString || !numbers->IsRefSet()) return;
    TableString table = numbers->IsSet() ? numbers->Get<TableString>() : TableString{{"Quantity"}};
    const TableString reference = numbers->Get<TableString>(true);
    const bool hasEvidence = numbers->IsSet();
    if (hasEvidence) table.front() = {"Quantity", "Evidence"};
    table.front().emplace_back("Reference");
    for (std::size_t i = 1; i < table.size(); ++i) table[i].resize(table.front().size());
    for (std::size_t i = 1; i < reference.size(); ++i) {
        const auto same = [&](const std::vector<std::string>& row) {
            return row.front() == reference[i].front();
        };
        auto row = std::find_if(table.begin() + 1, table.end(), same);
        if (row == table.end()) {
            table.emplace_back(table.front().size());
            row = table.end() - 1;
            row->front() = reference[i].front();
        }
        row->back() = reference[i].back();
    }
    numbers->ClearReference();
    numbers->SetValue(table);
}

void OrvFilter::Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
                      VecParameter& output) const {
    output = m_outputPrototype;
    for (std::size_t i = 0; i < output.size(); ++i) {
        if (evidence != nullptr) output[i].Set(evidence->output[i]);
        if (reference != nullptr && reference->output[i].IsSet())
            output[i].SetReferenceFrom(reference->output[i]);
        // A text that only the evidence has differs from the reference's, which is empty.
        if (reference != nullptr && output[i].IsSet() && !output[i].IsRefSet())
            output[i].SetReference(std::string());
    }
    MergeNumbers(output);
}

// Carries out work on one file; what fails is told with the file's name, because two may be loaded.
template <typename Work>
static void NamingFile(const OrvLoadedFile& file, const Work& work) {
    try {
        work();
    } catch (const ZorException& error) {
        const std::string name = "\"" + ToValidUtf8(PathName(file.GetPath())) + "\"";
        if (error.GetKind() == ZorException::Kind::Aborted ||
            error.GetMessage().find(name) != std::string::npos)
            throw;
        throw ZorException(error.GetSourceFile(), error.GetLine(), error.GetKind(),
                           name + ": " + error.GetMessage());
    }
}

// What a map says of itself and its automatic range, once per map.
static void FinishMaps(const OrvLoadedFile& file, OrvSlotResult& result) {
    for (OrvMap& map : result.maps) {
        if (map.image.empty()) map.image = {file.GetInfo().width, file.GetInfo().height};
        if (map.isAutomatic && map.range.low == map.range.high) map.range = AutomaticRange(map);
    }
}

// What an analysis may take beside the picture that it looks at.
static std::size_t WorkingBytes(const OrvLoadedFile& file) {
    constexpr std::size_t kBytesPerPixel = 12;
    const ImageInfo& info = file.GetInfo();
    return static_cast<std::size_t>(std::max(info.width, 0)) *
           static_cast<std::size_t>(std::max(info.height, 0)) * kBytesPerPixel;
}

OrvSlotResultPtr OrvFilter::RunSlot(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                                    const OrvResultCache* cache, bool& isFresh) const {
    auto fresh = std::make_shared<OrvSlotResult>();
    fresh->output = m_outputPrototype;
    if (const std::string reason = WhyNot(file, input); !reason.empty()) {
        fresh->SayNothing(reason);
        fresh->isSkipped = true;
        return fresh;
    }
    constexpr double kDecodingShare = 0.25;
    double begin = 0.0;
    if (NeedsPicture() && !file.IsDecoded()) {
        const OrvJob decoding = job.Piece(0.0, kDecodingShare, {});
        begin = kDecodingShare;
        try {
            file.GetDecoded(decoding);
        } catch (const ZorException& exception) {
            // What cannot be decoded is the filter's own to judge: it meets the same failure.
            if (exception.GetKind() != ZorException::Kind::Format) throw;
        }
    }
    std::shared_ptr<OrvSlotResult> kept = cache != nullptr ? cache->Load(*this, file, input) : nullptr;
    if (kept) {
        fresh = std::move(kept);
    } else {
        const OrvMemoryBudget::Working room(NeedsPicture() ? WorkingBytes(file) : 0);
        Compute(file, input, job.Piece(begin, 1.0, {}), *fresh);
        FinishMaps(file, *fresh);
        isFresh = true;
        // Silence is a statement too: what could not be read to its end was not looked through.
        if (fresh->verdict == OrvVerdict::NothingFound && !file.GetDamage().IsEmpty())
            fresh->verdictText = "Nothing found in what could be read of a damaged file";
    }
    if (!fresh->maps.empty() && !fresh->inputImage.IsValid() && NeedsPicture())
        fresh->inputImage = file.GetDecoded(job)->image;
    return fresh;
}

bool OrvFilter::Answers(const OrvFilterResult& held, int heldSlot, const OrvFilterResult& request,
                        int slot) const {
    if (held.file[heldSlot] != request.file[slot] || held.input != request.input ||
        held.surroundings != request.surroundings || held.fileStamp != request.fileStamp || held.IsLight())
        return false;
    // What rests on both files holds for these two, in these places.
    return !ComparesFiles() || (heldSlot == slot && std::equal(std::begin(held.file), std::end(held.file),
                                                               std::begin(request.file)));
}

void OrvFilter::RunBoth(OrvFilterResult& result, const OrvJob& job) const {
    std::shared_ptr<OrvSlotResult> fresh[kFileSlots];
    for (int slot = 0; slot < kFileSlots; ++slot) {
        fresh[slot] = std::make_shared<OrvSlotResult>();
        fresh[slot]->output = m_outputPrototype;
        const OrvLoadedFile& file = *result.file[slot];
        NamingFile(file, [&] { file.GetDecoded(job.Piece(0.15 * slot, 0.15 * (slot + 1), {})); });
    }
    const OrvMemoryBudget::Working room(WorkingBytes(*result.file[OrvEvidence]) +
                                        WorkingBytes(*result.file[OrvReference]));
    ComputeBoth(*result.file[OrvEvidence], *result.file[OrvReference], result.input, job.Piece(0.3, 1.0, {}),
                *fresh[OrvEvidence], *fresh[OrvReference]);
    for (int slot = 0; slot < kFileSlots; ++slot) {
        FinishMaps(*result.file[slot], *fresh[slot]);
        if (!fresh[slot]->inputImage.IsValid())
            fresh[slot]->inputImage = result.file[slot]->GetDecoded(job)->image;
        result.computed[slot] = std::move(fresh[slot]);
    }
}

void OrvFilter::KeepFresh(const OrvFilterResult& result, const OrvResultCache& cache) const {
    if (!IsCacheable()) return;
    for (int slot = 0; slot < kFileSlots; ++slot)
        if (result.isFresh[slot] && !result.computed[slot]->isSkipped && !result.computed[slot]->isLight)
            cache.Store(*this, *result.file[slot], result.input, *result.computed[slot]);
}

OrvFilterResultPtr OrvFilter::Run(const OrvFilterResult& request, const std::vector<OrvFilterResultPtr>& held,
                                  const OrvJob& job, const OrvResultCache* cache) const {
    auto result = std::make_shared<OrvFilterResult>(request);
    result->pictures = std::make_shared<OrvMapPictures>(MapRangesOf(m_id));
    result->surroundings = GetSurroundings();
    result->fileStamp = StampOfFiles(request.input);
    std::fill(std::begin(result->isFresh), std::end(result->isFresh), false);
    const int files = (request.file[OrvEvidence] ? 1 : 0) + (request.file[OrvReference] ? 1 : 0);
    int filesDone = 0;
    for (int slot = 0; slot < kFileSlots; ++slot) {
        if (!request.file[slot]) continue;
        const OrvLoadedFile& file = *request.file[slot];
        const OrvJob part =
            job.Piece(static_cast<double>(filesDone) / files, static_cast<double>(filesDone + 1) / files, {});
        ++filesDone;
        // What an earlier result holds for this very snapshot and these parameters is taken over, whichever
        // slot it was in then.
        for (const OrvFilterResultPtr& old : held)
            for (int oldSlot = 0; oldSlot < kFileSlots && !result->computed[slot]; ++oldSlot)
                if (Answers(*old, oldSlot, *result, slot)) {
                    result->computed[slot] = old->computed[oldSlot];
                    if (old->postProcessing == request.postProcessing)
                        result->slot[slot] = old->slot[oldSlot];
                }
        if (!result->computed[slot] && ComparesFiles() && files == kFileSlots)
            RunBoth(*result, job.Piece(0.0, 0.95, {}));
        else if (!result->computed[slot])
            NamingFile(file, [&] {
                result->computed[slot] = RunSlot(file, request.input, part, cache, result->isFresh[slot]);
            });
        if (!result->slot[slot]) {
            if (m_postPrototype.empty() || result->computed[slot]->isSkipped) {
                result->slot[slot] = result->computed[slot];
            } else {
                auto finished = std::make_shared<OrvSlotResult>(*result->computed[slot]);
                NamingFile(file, [&] {
                    PostProcess(request.postProcessing, part, *finished);
                    FinishMaps(file, *finished);
                });
                result->slot[slot] = std::move(finished);
            }
        }
        result->status = std::max(result->status, result->slot[slot]->status);
    }
    Merge(result->slot[OrvEvidence].get(), result->slot[OrvReference].get(), result->output);
    return result;
}

OrvFilterResultPtr OrvFilter::FindHeld(const OrvFilterResult& request) const {
    const std::string surroundings = GetSurroundings();
    const std::string stamp = StampOfFiles(request.input);
    OrvMemoryBudget::Get().Touch(*m_memory);
    const std::lock_guard lock(m_mutex);
    for (const OrvFilterResultPtr& held : m_held)
        if (held->input == request.input && held->surroundings == surroundings && held->fileStamp == stamp &&
            !held->IsLight() && held->postProcessing == request.postProcessing &&
            std::equal(std::begin(held->file), std::end(held->file), std::begin(request.file)))
            return held;
    return nullptr;
}

std::vector<OrvFilterResultPtr> OrvFilter::GetHeld() const {
    const std::lock_guard lock(m_mutex);
    return m_held;
}

void OrvFilter::Publish(OrvFilterResultPtr result) {
    {
        const std::lock_guard lock(m_mutex);
        PublishLocked(std::move(result));
    }
    NoteMemory();
}

void OrvFilter::PublishLocked(OrvFilterResultPtr result) {
    bool hasImages = false;
    for (const OrvSlotResultPtr& slot : result->slot)
        hasImages = hasImages || (slot && (slot->outputImage.IsValid() || !slot->maps.empty()));
    const std::size_t keep = hasImages ? 2 : 8;
    const bool hasFile = result->file[OrvEvidence] || result->file[OrvReference];

    m_error.clear();
    m_isCurrent = true;
    for (OrvFilterConfiguration& configuration : m_configurations)
        if (hasFile && configuration.GetParameters() == result->input)
            configuration.SetFilterStatus(result->status);
    std::erase_if(m_held, [&result](const OrvFilterResultPtr& held) {
        return held == result || (held->IsLight() && held->input == result->input &&
                                  held->postProcessing == result->postProcessing);
    });
    m_held.insert(m_held.begin(), std::move(result));
    if (m_held.size() > keep) m_held.resize(keep);
}

void OrvFilter::ResetStatuses() {
    for (OrvFilterConfiguration& configuration : m_configurations)
        configuration.SetFilterStatus(FilterStatus::NotProcessed);
}

std::vector<OrvFilterResultPtr> OrvFilter::GetHeldWithout(const OrvFilePtr& file) const {
    const std::lock_guard lock(m_mutex);
    return HeldWithoutLocked(file);
}

std::vector<OrvFilterResultPtr> OrvFilter::HeldWithoutLocked(const OrvFilePtr& file) const {
    std::vector<OrvFilterResultPtr> results = m_held;
    // Published results are immutable: each is replaced by a copy without that file's part.
    for (OrvFilterResultPtr& held : results) {
        auto rest = std::make_shared<OrvFilterResult>(*held);
        rest->pictures = std::make_shared<OrvMapPictures>(
            MapRangesOf(m_id));  // drawn over a range that the other file had a part in
        for (int slot = 0; slot < kFileSlots; ++slot)
            if (rest->file[slot] == file) {
                rest->file[slot].reset();
                rest->computed[slot].reset();
                rest->slot[slot].reset();
            }
        held = std::move(rest);
    }
    return results;
}

void OrvFilter::PublishInstead(OrvFilterResultPtr result, const OrvFilePtr& file) {
    {
        const std::lock_guard lock(m_mutex);
        if (file) {
            m_held = HeldWithoutLocked(file);
        } else {
            m_held.clear();
        }
        ResetStatuses();
        PublishLocked(std::move(result));
    }
    NoteMemory();
}

void OrvFilter::SetFiles(const OrvFilePtr (&files)[kFileSlots]) {
    const std::lock_guard lock(m_mutex);
    const bool isSame =
        !m_held.empty() && std::equal(std::begin(files), std::end(files), std::begin(m_held.front()->file));
    if (isSame && m_isCurrent) return;
    m_isCurrent = false;
    m_error.clear();
    ResetStatuses();
    std::erase_if(m_held, [&files](const OrvFilterResultPtr& held) {
        for (const OrvFilePtr& file : held->file)
            if (file && (file == files[OrvEvidence] || file == files[OrvReference])) return false;
        return true;
    });
}

void OrvFilter::SetError(const std::string& message) {
    const std::lock_guard lock(m_mutex);
    m_error = message;
}

std::uint64_t OrvFilter::SetRequested(int configuration, const VecParameter& input,
                                      const VecParameter& postProcessing) {
    const std::lock_guard lock(m_mutex);
    SetRequestedLocked(configuration, input, postProcessing);
    return ++m_request;
}

void OrvFilter::RequestAgain(std::uint64_t request, int configuration, const VecParameter& input,
                             const VecParameter& postProcessing) {
    const std::lock_guard lock(m_mutex);
    if (m_request == request) SetRequestedLocked(configuration, input, postProcessing);
}

void OrvFilter::RequestWhatIsShown(const VecParameter& input, const VecParameter& postProcessing) {
    const std::lock_guard lock(m_mutex);
    if (m_requestedInput != input || m_requestedPost != postProcessing) return;
    if (m_held.empty() || !m_isCurrent) return;
    SetRequestedLocked(-1, m_held.front()->input, m_held.front()->postProcessing);
}

void OrvFilter::SetRequestedLocked(int configuration, const VecParameter& input,
                                   const VecParameter& postProcessing) {
    m_requestedInput = input;
    m_requestedPost = postProcessing;
    if (configuration >= 0 && configuration < static_cast<int>(m_configurations.size())) {
        m_activeConfiguration = configuration;
        return;
    }
    for (std::size_t i = 0; i < m_configurations.size(); ++i)
        if (m_configurations[i].GetParameters() == input) {
            m_activeConfiguration = static_cast<int>(i);
            return;
        }
}

std::vector<OrvFilterConfiguration> OrvFilter::GetConfigurations() const {
    const std::lock_guard lock(m_mutex);
    return m_configurations;
}

int OrvFilter::GetConfigurationsSize() const {
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(m_configurations.size());
}

VecParameter OrvFilter::GetConfigurationParams(int index) const {
    const std::lock_guard lock(m_mutex);
    if (index < 0 || index >= static_cast<int>(m_configurations.size())) return m_inputPrototype;
    return m_configurations[static_cast<std::size_t>(index)].GetParameters();
}

int OrvFilter::GetActiveConfiguration() const {
    const std::lock_guard lock(m_mutex);
    return m_activeConfiguration;
}

bool OrvFilter::IsConfigurationEnabled(int index) const {
    const std::lock_guard lock(m_mutex);
    return index >= 0 && index < static_cast<int>(m_configurations.size()) &&
           m_configurations[static_cast<std::size_t>(index)].IsEnabled();
}

void OrvFilter::EnableConfiguration(int index, bool enabled) {
    const std::lock_guard lock(m_mutex);
    if (index >= 0 && index < static_cast<int>(m_configurations.size()))
        m_configurations[static_cast<std::size_t>(index)].Enable(enabled);
}

void OrvFilter::EditConfigurations(
    const std::function<void(std::vector<OrvFilterConfiguration>&, int& active)>& edit) {
    const std::lock_guard lock(m_mutex);
    edit(m_configurations, m_activeConfiguration);
    m_activeConfiguration =
        std::clamp(m_activeConfiguration, 0, std::max(0, static_cast<int>(m_configurations.size()) - 1));
}
