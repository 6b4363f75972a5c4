#pragma once

#include <wx/string.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "orvcore/filter/filterconfiguration.h"
#include "orvcore/filter/filterguibase.h"
#include "orvcore/filter/filterresult.h"

class wxWindow;
class OrvFilter;
class OrvResultCache;

// Makes the page of a filter; the window library's.
using OrvPageFactory = std::function<OrvFilterGuiBase*(wxWindow* parent, OrvFilter* filter)>;

// Which kind of page a filter gets.
enum class OrvPageKind { Text, Plot, ImageSingle, ImageDouble, Summary };

// One analysis filter. A concrete filter says who it is, lists its parameters, and computes a result for one
// file as a pure function of (file, parameters); everything else (requested values, configurations, published
// results) is kept here.
//
// Threads: everything is safe on any thread except the page operations (GUI thread only). Compute and
// PostProcess run on the core's worker and must not touch state of the filter.
class OrvFilter {
  public:
    // name: the English name, translated when shown. id: the key under which everything of this filter is
    // stored.
    OrvFilter(const wxString& name, const std::string& id);
    explicit OrvFilter(const wxString& name);  // id made from the name: lower case, blanks as '-'
    virtual ~OrvFilter();
    OrvFilter(const OrvFilter&) = delete;
    OrvFilter& operator=(const OrvFilter&) = delete;

    wxString GetName() const;
    const std::string& GetNameUtf8() const { return m_name; }
    const std::string& GetId() const { return m_id; }
    wxString GetDescription() const;
    wxString GetAnalysisTypeString() const;
    const std::string& GetDescriptionUtf8() const { return m_description; }
    const std::string& GetAnalysisTypeUtf8() const { return m_analysisType; }
    virtual OrvPageKind GetPageKind() const { return OrvPageKind::Text; }
    // Raised whenever the same input can give another result: part of the cache's key and of every report.
    virtual int GetVersion() const { return 1; }
    virtual bool GivesVerdict() const { return false; }
    // Whether results are worth keeping on disk (they cost more than loading them).
    virtual bool IsCacheable() const { return false; }
    // Whether it works on the decoded picture, which is then decoded beforehand.
    virtual bool NeedsPicture() const { return GetPageKind() != OrvPageKind::Text; }
    // Whether it holds the evidence against the reference: then both are computed together by ComputeBoth, and one alone by Compute.
    virtual bool ComparesFiles() const { return false; }
    // "" when the filter can say something about this file, otherwise why not, in a few words ("Not a JPEG", "Smaller than one
    // block"). Asked before any work, so it looks at headers and parameters only. It is no failure: the result then holds this
    // reason as a verdict of kind NotApplicable, and nothing else. Any thread.
    virtual std::string WhyNot(const OrvLoadedFile& file, const VecParameter& input) const;
    // What a result rests on beside the file and the parameters (what the program options say, say), as a text that changes with it. A
    // result that was found under other circumstances is not taken over. Any thread.
    virtual std::string GetSurroundings() const { return {}; }
    // Whether the rows of its output "table" are pictures that the file holds, their column "Number" counting those of
    // ReadPicturesInFile from 1, so that they can be taken out and loaded.
    virtual bool ListsPictures() const { return false; }
    // A filter with one configuration shows no configurations in the tree.
    virtual bool HasSingleConfiguration() const { return m_inputPrototype.empty(); }

    // The newest requested values, so that a page refreshed by an older result never throws back what the
    // user has set since.
    VecParameter GetParametersInput() const;
    VecParameter GetParametersPostProcessing() const;
    // Outputs of the newest published result; the empty prototype when there is none.
    VecParameter GetParametersOutput() const;
    const VecParameter& GetInputPrototype() const { return m_inputPrototype; }
    const VecParameter& GetPostProcessingPrototype() const { return m_postPrototype; }
    const VecParameter& GetOutputPrototype() const { return m_outputPrototype; }

    // The newest result for the files that are loaded now; null while there is none. What was found in files that have been
    // replaced since is never answered.
    OrvFilterResultPtr GetResult() const;
    wxString GetErrorMessage() const;  // of the last failed run, "" after a good one

    // Pictures of the newest result; empty when there is none for the slot. A map is drawn, over the range that both files share.
    Image GetInputImage(OrvFileId slot) const;
    Image GetOutputImage(OrvFileId slot) const;

    // Configurations, in index order.
    std::vector<OrvFilterConfiguration> GetConfigurations() const;
    int GetConfigurationsSize() const;
    VecParameter GetConfigurationParams(int index) const;  // defaults when the index is out of range
    int GetActiveConfiguration() const;
    bool IsConfigurationEnabled(int index) const;
    void EnableConfiguration(int index, bool enabled);

    // Pages. CreateAnalysisPanel makes the page (through the factory that the window library registered),
    // remembers it weakly and returns it, not yet initialised; null where there is no window library.
    static void SetPageFactory(OrvPageFactory factory);  // once, when the window library starts
    OrvFilterGuiBase* CreateAnalysisPanel(wxWindow* parent, OrvFilter* filter);
    // The page; null when there is none, or none any more. One that was never made is asked of the source first.
    OrvFilterGuiBase* GetAnalsyisFilterGui() const;
    bool HasPage() const { return m_page != nullptr; }  // asks nobody
    // source: whoever shows pages; it calls CreateAnalysisPanel for a filter whose page was not made so far, or does nothing. A page
    // that nobody asks for is never made.
    static void SetPageSource(std::function<void(const OrvFilter& filter)> source);
    void SetAnalysisFilterGui(OrvFilterGuiBase* page) { m_page = page; }  // null from the page's destructor

    // Whether this filter's page is the one that is shown: its newest result is then never let go to save memory.
    void SetShown(bool shown);

    // Called on the worker before each run; a filter that runs no analysis has nothing to do here.
    virtual void Apply() {}
    // Computes what is missing for the request's files and returns the complete result, taking over what held
    // results know. cache is only read, and may be null; KeepFresh writes. Throws ZorException.
    OrvFilterResultPtr Run(const OrvFilterResult& request, const std::vector<OrvFilterResultPtr>& held,
                           const OrvJob& job, const OrvResultCache* cache) const;
    // Writes what the result's run computed to the disk, where this filter's results are worth it. Takes its time: call it when the
    // result is shown.
    void KeepFresh(const OrvFilterResult& result, const OrvResultCache& cache) const;

  protected:
    virtual OrvFilterGuiBase* CreatePanel(wxWindow* parent, OrvFilter* filter);

    // One file, one parameter set. Outputs start as a copy of the prototype. job's progress is this file's own 0..1, after the
    // picture has been decoded. A pure function: the same bits for any number of threads. Throws ZorException.
    virtual void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                         OrvSlotResult& result) const;
    // The evidence against the reference, for a filter with ComparesFiles. Both results start as copies of the prototype; neither goes to the
    // cache on disk. Otherwise as Compute.
    virtual void ComputeBoth(const OrvLoadedFile& evidence, const OrvLoadedFile& reference,
                             const VecParameter& input, const OrvJob& job, OrvSlotResult& ofEvidence,
                             OrvSlotResult& ofReference) const;
    // Cheap second stage, run again when only post-processing values change. `result` starts as a copy of the
    // computed one.
    virtual void PostProcess(const VecParameter& postProcessing, const OrvJob& job,
                             OrvSlotResult& result) const;
    // Brings both slots together; the base sets evidence and reference values parameter by parameter, and makes one table of both
    // files' numbers (see OrvSlotResult::AddNumber).
    virtual void Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
                       VecParameter& output) const;

    // For constructors of concrete filters.
    void Describe(const std::string& analysisType, const std::string& description);
    void SetParameters(VecParameter input, VecParameter postProcessing, VecParameter output);
    // Default configurations beside the standard one.
    void AddDefaultConfiguration(const VecParameter& parameters);

  private:
    friend class OrvInterface;
    friend class OrvFilterStore;
    friend class OrvFilterRunner;

    std::shared_ptr<const OrvSlotResult> RunSlot(const OrvLoadedFile& file, const VecParameter& input,
                                                 const OrvJob& job, const OrvResultCache* cache,
                                                 bool& isFresh) const;
    // Both slots of a filter with ComparesFiles.
    void RunBoth(OrvFilterResult& result, const OrvJob& job) const;
    // Whether what a slot of the held result holds answers the request's slot.
    bool Answers(const OrvFilterResult& held, int heldSlot, const OrvFilterResult& request, int slot) const;
    // Lets pictures and maps of what is held go, but for what is shown and what somebody uses; how many bytes are left.
    std::size_t DropPictures();
    // Tells the memory budget what is held. Not under the lock.
    void NoteMemory();
    class HeldMemory;
    // The held result that answers this request completely, or null.
    OrvFilterResultPtr FindHeld(const OrvFilterResult& request) const;
    std::vector<OrvFilterResultPtr> GetHeld() const;  // newest first
    // The same without one file's part.
    std::vector<OrvFilterResultPtr> GetHeldWithout(const OrvFilePtr& file) const;
    void Publish(OrvFilterResultPtr result);
    // Publishes a result that was computed anew, and in the same moment drops what else is held of the file (null: of all files).
    void PublishInstead(OrvFilterResultPtr result, const OrvFilePtr& file);
    // The slots hold other files now: results for others count no more, and those for files in no slot are dropped.
    void SetFiles(const OrvFilePtr (&files)[kFileSlots]);
    // Under the lock.
    void PublishLocked(OrvFilterResultPtr result);
    void SetRequestedLocked(int configuration, const VecParameter& input, const VecParameter& postProcessing);
    std::vector<OrvFilterResultPtr> HeldWithoutLocked(const OrvFilePtr& file) const;
    void ResetStatuses();
    void SetError(const std::string& message);
    // Returns the number of the request.
    std::uint64_t SetRequested(int configuration, const VecParameter& input,
                               const VecParameter& postProcessing);
    // The request's values once more, unless there is a newer request.
    void RequestAgain(std::uint64_t request, int configuration, const VecParameter& input,
                      const VecParameter& postProcessing);
    // A run for these values ended without a result. Unless other values were asked for since, the requested values are again
    // those of the newest result, where there is one.
    void RequestWhatIsShown(const VecParameter& input, const VecParameter& postProcessing);
    void EditConfigurations(
        const std::function<void(std::vector<OrvFilterConfiguration>&, int& active)>& edit);

    std::string m_name;
    std::string m_id;
    std::string m_description;
    std::string m_analysisType;
    VecParameter m_inputPrototype;
    VecParameter m_postPrototype;
    VecParameter m_outputPrototype;
    std::vector<OrvFilterConfiguration> m_defaultConfigurations;

    mutable std::mutex m_mutex;  // guards everything below; never held while computing
    VecParameter m_requestedInput;
    VecParameter m_requestedPost;
    std::uint64_t m_request = 0;  // number of the newest request
    std::vector<OrvFilterConfiguration> m_configurations;
    int m_activeConfiguration = 0;
    std::vector<OrvFilterResultPtr> m_held;  // newest first
    bool m_isShown = false;    // its page is the one that is shown: the newest result stays whole
    bool m_isCurrent = false;  // the newest one is for the loaded files
    std::string m_error;

    std::shared_ptr<HeldMemory> m_memory;  // what the memory budget knows this filter by

    OrvFilterGuiBase* m_page = nullptr;  // GUI thread only
};

// The two kinds of filters that pages treat specially; they add names, not state.
class OrvFilterImage : public OrvFilter {
  public:
    using OrvFilter::OrvFilter;
    OrvPageKind GetPageKind() const override { return OrvPageKind::ImageDouble; }
};

class OrvFilterPlot : public OrvFilter {
  public:
    using OrvFilter::OrvFilter;
    OrvPageKind GetPageKind() const override { return OrvPageKind::Plot; }
    // Plot data of the newest result; empty when there is none for the slot.
    OrvPlotData GetPlotDataCopy(OrvFileId slot) const;
};
