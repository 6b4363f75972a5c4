// The part of the facade that deals with filters and their configurations.

#include <algorithm>
#include <chrono>
#include <utility>

#include "orvcore/facade/interface.h"
#include "orvcore/facade/interfaceprivate.h"
#include "orvcore/filter/filterstore.h"
#include "orvcore/model/memorybudget.h"
#include "orvcore/report/annotationpicture.h"
#include "zorbase/files.h"
#include "zorbase/progress.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

std::vector<OrvFilter*> OrvInterface::GetFilters() const {
    return m_context->GetFilters();
}

OrvFilter* OrvInterface::GetActiveFilter() const {
    return m_context->GetActiveFilter();
}

void OrvInterface::Configure(OrvFilter* filter, int configuration, const VecParameter& input,
                             const VecParameter& post, bool force) {
    if (filter == nullptr) return;
    m_context->NoteChoice();
    const std::uint64_t request = filter->SetRequested(configuration, input, post);
    OrvCommand command;
    command.kind = OrvCommand::Kind::Configure;
    command.filter = filter;
    command.input = input;
    command.post = post;
    command.run = [this, filter, configuration, input, post, force, request](const OrvJob& job) {
        // An earlier run that ended without a result may have taken the requested values back.
        filter->RequestAgain(request, configuration, input, post);
        m->RunFilter(*filter, input, post, {force, nullptr}, job);
    };
    m->queue.Push(std::move(command));
}

bool OrvInterface::ActivateFilter(OrvFilter* filter, int configuration) {
    m_context->SetActiveFilter(filter);
    if (filter == nullptr) return false;
    const VecParameter input =
        configuration < 0 ? filter->GetParametersInput() : filter->GetConfigurationParams(configuration);
    // What is held now may not be the newest when its turn comes: the queue knows the order.
    Configure(filter, configuration, input, filter->GetParametersPostProcessing(), false);
    return true;
}

void OrvInterface::ReprocessCurrent(OrvFileId slot) {
    m->Push(OrvCommand::Kind::Other, [this, slot](const OrvJob& job) {
        m->Tell(OrvEventReprocessCurrent);
        m->RunActive({false, m->slots.GetActive(slot)}, job);
    });
}

// --- configurations: small changes of the model, made at once; writing them down is the worker's ---

void OrvInterface::StoreSettings() {
    {
        const std::lock_guard lock(m->mutex);
        if (!m->project.GetPath().empty()) m->project.SetSaved(false);
    }
    // What came with a project is kept with it, and the user's own stays as it is.
    if (m->hasProjectConfigurations) return;
    OrvCommand command;
    command.kind = OrvCommand::Kind::Settings;
    command.run = [this](const OrvJob&) {
        WriteFile(OrvFilterStore::SettingsPath(),
                  JsonToText(OrvFilterStore::ToJson(m_context->GetFilters()), 2) + "\n");
    };
    command.fail = [this](int error, const std::string& message) { m->TellFailure(error, message); };
    m->queue.Push(std::move(command));
}

void OrvInterface::AddFilterConfiguration(OrvFilter* filter, const VecParameter& parameters, int index) {
    const OrvFilterResultPtr result = filter->GetResult();
    filter->EditConfigurations([&](std::vector<OrvFilterConfiguration>& list, int& active) {
        OrvFilterConfiguration added(parameters);
        if (result && result->input == parameters) added.SetFilterStatus(result->status);
        const int place = std::clamp(index, 0, static_cast<int>(list.size()));
        list.insert(list.begin() + place, std::move(added));
        active = place;
    });
    StoreSettings();
}

void OrvInterface::DeleteFilterConfiguration(OrvFilter* filter, int index) {
    filter->EditConfigurations([index](std::vector<OrvFilterConfiguration>& list, int& active) {
        if (index < 0 || index >= static_cast<int>(list.size())) return;
        list.erase(list.begin() + index);
        if (active > index) --active;
    });
    StoreSettings();
}

void OrvInterface::DeleteAllFilterConfigurations(OrvFilter* filter) {
    filter->EditConfigurations([](std::vector<OrvFilterConfiguration>& list, int&) { list.clear(); });
    StoreSettings();
}

void OrvInterface::ResetDefaultFilterConfigurations(OrvFilter* filter) {
    OrvFilterStore::ResetToDefaults(*filter);
    StoreSettings();
}

void OrvInterface::MoveFilterConfiguration(OrvFilter* filter, int from, int to) {
    filter->EditConfigurations([from, to](std::vector<OrvFilterConfiguration>& list, int& active) {
        const int size = static_cast<int>(list.size());
        if (from < 0 || from >= size || to < 0 || to >= size || from == to) return;
        const OrvFilterConfiguration moved = list[static_cast<std::size_t>(from)];
        list.erase(list.begin() + from);
        list.insert(list.begin() + to, moved);
        if (active == from)
            active = to;
        else if (from < active && active <= to)
            --active;
        else if (to <= active && active < from)
            ++active;
    });
    StoreSettings();
}

void OrvInterface::EnableFilterConfiguration(OrvFilter* filter, int index, bool enabled) {
    filter->EnableConfiguration(index, enabled);
    StoreSettings();
}

void OrvInterface::SaveConfigurations(const wxString& path) {
    m->Push(OrvCommand::Kind::Other, [this, path = PathFromWx(path)](const OrvJob&) {
        m->RefuseLoadedFile(path);
        WriteFile(path, JsonToText(OrvFilterStore::ToJson(m_context->GetFilters()), 2) + "\n");
    });
}

void OrvInterface::LoadConfigurations(const wxString& path) {
    m->Push(OrvCommand::Kind::Project, [this, path = PathFromWx(path)](const OrvJob&) {
        const std::string name = ToValidUtf8(PathName(path));
        std::vector<std::string> problems;
        try {
            OrvFilterStore::FromJson(m_context->GetFilters(), JsonFromText(ReadFile(path)), problems);
        } catch (const ZorException& exception) {
            if (exception.GetKind() == ZorException::Kind::File) throw;
            ZOR_THROW(Format, "\"" + name + "\" was not loaded: " + exception.GetMessage());
        }
        StoreSettings();
        m->Tell(OrvEventDeleteCache);
        if (problems.empty()) return;
        ZOR_THROW(Format, "\"" + name + "\" was loaded as far as it is known here. Left out:\n" +
                              Private::ListProblems(std::move(problems)));
    });
}

void OrvInterface::ResetAllConfigurations() {
    for (OrvFilter* filter : GetFilters()) OrvFilterStore::ResetToDefaults(*filter);
    StoreSettings();
    m->Push(OrvCommand::Kind::Other, [this](const OrvJob&) { m->Tell(OrvEventDeleteCache); });
}

// --- saving a result ---

wxString OrvInterface::GetFilterFileSelectorString() const {
    static const std::string kImages =
        "PNG image (*.png)|*.png|TIFF image (*.tif)|*.tif|JPEG image (*.jpg)|*.jpg|WebP image (*.webp)|*.webp";
    static const std::string kTexts = "HTML page (*.html)|*.html|Tab separated values (*.tsv)|*.tsv";
    const OrvFilter* filter = GetActiveFilter();
    if (filter == nullptr) return ToWx(kTexts);
    switch (filter->GetPageKind()) {
        case OrvPageKind::ImageSingle:
        case OrvPageKind::ImageDouble:
            return ToWx(kImages + "|" + kTexts);
        case OrvPageKind::Plot:
            return ToWx(kImages + "|" + kTexts);
        default:
            return ToWx(kTexts);
    }
}

wxString OrvInterface::GetExportFilename() const {
    const OrvFilter* filter = GetActiveFilter();
    OrvFilePtr file = m->slots.Get(OrvEvidence);
    if (!file) file = m->slots.Get(OrvReference);
    const bool hasImage = filter != nullptr && filter->GetPageKind() != OrvPageKind::Text &&
                          filter->GetPageKind() != OrvPageKind::Summary;
    return PathToWx((file ? PathStem(file->GetPath()) : std::string("result")) +
                    (filter != nullptr ? "-" + filter->GetId() : std::string()) +
                    (hasImage ? ".png" : ".html"));
}

void OrvInterface::SetImageToSave(const Image& image, const std::vector<OrvAnnotation>& marks) {
    const std::lock_guard lock(m->mutex);
    m->imageToSave = image;
    m->marksToSave = marks;
}

void OrvInterface::SaveFilterResult(const wxString& path) {
    Image image;
    std::vector<OrvAnnotation> marks;
    {
        const std::lock_guard lock(m->mutex);
        image = std::exchange(m->imageToSave, Image());
        marks = std::exchange(m->marksToSave, {});
    }
    m->Push(OrvCommand::Kind::Other, [this, path = PathFromWx(path), image, marks,
                                      asked = m->AskedNow(GetActiveFilter())](const OrvJob& job) {
        m->SaveResult(asked, marks.empty() ? image : DrawAnnotations(image, marks, {}), path, job);
        m->NoteFile("Result saved", path);
        auto event = std::make_unique<OrvCommandEvent>(OrvEventActionCompleted);
        event->SetFilter(asked.filter, false);
        m->port.Post(std::move(event), true);
    });
}

std::string OrvInterface::Private::ListProblems(std::vector<std::string> problems) {
    constexpr std::size_t kNamed = 12;
    const std::size_t more = problems.size() > kNamed ? problems.size() - kNamed : 0;
    problems.resize(problems.size() - more);
    return Join(problems, "\n") + (more > 0 ? "\nand " + ToString(static_cast<int>(more)) + " more" : "");
}

// --- worker ---

OrvFilterResult OrvInterface::Private::RequestFor(const VecParameter& input, const VecParameter& post) const {
    OrvFilterResult request;
    request.input = input;
    request.postProcessing = post;
    for (const OrvFileId slot : {OrvEvidence, OrvReference}) request.file[slot] = slots.GetActive(slot);
    return request;
}

OrvInterface::Private::Asked OrvInterface::Private::AskedNow(OrvFilter* filter) const {
    Asked asked;
    asked.filter = filter;
    if (filter != nullptr)
        asked.request = RequestFor(filter->GetParametersInput(), filter->GetParametersPostProcessing());
    return asked;
}

bool OrvInterface::Private::IsAskedNow(const Asked& asked) const {
    const OrvFilterResult now = AskedNow(asked.filter).request;
    return now.input == asked.request.input && now.postProcessing == asked.request.postProcessing &&
           std::equal(std::begin(now.file), std::end(now.file), std::begin(asked.request.file));
}

OrvFilterResultPtr OrvInterface::Private::RunNoted(const OrvFilter& filter, const OrvFilterResult& request,
                                                   const std::vector<OrvFilterResultPtr>& held,
                                                   const OrvJob& job, const OrvResultCache* kept) {
    const bool hasFile = request.file[OrvEvidence] || request.file[OrvReference];
    const auto start = std::chrono::steady_clock::now();
    try {
        const OrvFilterResultPtr result = filter.Run(request, held, job, kept);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        const bool isFresh = result->isFresh[OrvEvidence] || result->isFresh[OrvReference];
        // Without a file nothing was looked at.
        if (hasFile)
            NoteRun(filter, request,
                    isFresh ? "computed in " + FixedText(taken.count(), 3) + " s."
                            : std::string("answered from what was known."));
        return result;
    } catch (const ZorException& exception) {
        if (hasFile) NoteRun(filter, request, "failed: " + exception.GetMessage());
        throw;
    }
}

OrvFilterResultPtr OrvInterface::Private::Compute(const OrvFilter& filter, const OrvFilterResult& request,
                                                  const OrvJob& job) {
    if (const OrvFilterResultPtr held = filter.FindHeld(request)) return held;
    const bool useCache = filter.IsCacheable() && options.IsCacheEnabled();
    return RunNoted(filter, request, filter.GetHeld(), job, useCache ? &cache : nullptr);
}

OrvFilterResultPtr OrvInterface::Private::ComputeAnew(OrvFilter& filter, const OrvFilterResult& request,
                                                      const Renewal& renewal, const OrvJob& job) {
    const auto held = renewal.all ? std::vector<OrvFilterResultPtr>() : filter.GetHeldWithout(renewal.file);
    const OrvFilterResultPtr result = RunNoted(filter, request, held, job, nullptr);
    for (int slot = 0; slot < kFileSlots; ++slot) {
        if (!renewal.Concerns(request.file[slot])) continue;
        cache.Forget(filter, *request.file[slot], request.input);
    }
    return result;
}

void OrvInterface::Private::RunFilter(OrvFilter& filter, const VecParameter& input, const VecParameter& post,
                                      const Renewal& renewal, const OrvJob& job) {
    const auto tell = [this, &filter](OrvEventId id, bool wait) {
        auto event = std::make_unique<OrvCommandEvent>(id);
        event->SetFilter(&filter, true);
        port.Post(std::move(event), wait);
    };
    OrvFilterResultPtr computed;
    OrvCommand work;
    work.run = [&](const OrvJob& running) {
        filter.Apply();
        running.SetProgress(0.0, filter.GetNameUtf8());
        const OrvFilterResult request = RequestFor(input, post);
        const OrvFilterResultPtr result = renewal.IsAny() ? ComputeAnew(filter, request, renewal, running)
                                                          : Compute(filter, request, running);
        // Drawn here, so that the window need not.
        if (filter.NeedsPicture())
            for (int slot = 0; slot < kFileSlots; ++slot) result->GetPicture(slot);
        const bool isNew = filter.FindHeld(request) != result;
        if (renewal.IsAny()) {
            filter.PublishInstead(result, renewal.file);
        } else {
            filter.Publish(result);
        }
        if (isNew) computed = result;
    };
    bool isGood = true;
    work.fail = [&](int error, const std::string& message) {
        isGood = false;
        filter.SetError(filter.GetNameUtf8() + ": " + message);
        // A page asks once per parameter: what was cancelled must not begin again by itself.
        if (error == kErrorAborted) queue.DropConfigure(&filter, input, post);
        filter.RequestWhatIsShown(input, post);
    };
    tell(OrvEventConfigureStarted, false);
    OrvCommandQueue::Run(work, job);
    tell(isGood ? OrvEventConfigureCompleted : OrvEventConfigureInterrupted, true);
    if (!computed) return;
    KeepFresh(filter, *computed);
    computed.reset();
    ReturnFreeMemory();
}

void OrvInterface::Private::KeepFresh(const OrvFilter& filter, const OrvFilterResult& result) const {
    if (options.IsCacheEnabled()) filter.KeepFresh(result, cache);
}

void OrvInterface::Private::RunActive(const Renewal& renewal, const OrvJob& job) {
    OrvFilter* filter = context.GetActiveFilter();
    if (filter == nullptr) return Tell(OrvEventActionCompleted);
    RunFilter(*filter, filter->GetParametersInput(), filter->GetParametersPostProcessing(), renewal, job);
}
