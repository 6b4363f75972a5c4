#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "orvcore/facade/context.h"
#include "orvcore/filter/filter.h"
#include "orvcore/model/job.h"
#include "zorbase/zorexception.h"

// A filter whose result follows from its one parameter: level 0 finds nothing, 1 is worth a look, 2 a strong
// sign, 3 fails. It counts how often it computes.
class FakeFilter : public OrvFilter {
  public:
    struct Traits {
        bool hasSettings = true;
        bool givesVerdict = false;
        std::vector<int> configurations;  // levels of the default configurations beside the standard one
    };

    FakeFilter(const std::string& name, const std::string& group, Traits traits)
        : OrvFilter(wxString::FromUTF8(name)), m_traits(std::move(traits)) {
        Describe(group, "Does nothing, and says so.");
        if (!m_traits.hasSettings) return;
        SetParameters(Level(0), {}, {});
        for (const int level : m_traits.configurations) AddDefaultConfiguration(Level(level));
    }

    static VecParameter Level(int level) {
        VecParameter parameters{Parameter::Int("level", "Level", 0, 0, 1000)};
        parameters[0].SetValue(level);
        return parameters;
    }

    bool GivesVerdict() const override { return m_traits.givesVerdict; }
    int CountRuns() const { return m_count; }

  protected:
    void Compute(const OrvLoadedFile&, const VecParameter& input, const OrvJob&,
                 OrvSlotResult& result) const override {
        const int level = m_traits.hasSettings ? input.Get<int>("level") : 0;
        ++m_count;
        if (level == 3) ZOR_THROW(Format, "The level is three.");
        result.status = level > 0 ? FilterStatus::StandsOut : FilterStatus::Processed;
        if (!m_traits.givesVerdict) return;
        result.verdict = level == 0   ? OrvVerdict::NothingFound
                         : level == 1 ? OrvVerdict::WorthALook
                                      : OrvVerdict::StrongSign;
        result.verdictText = "level " + std::to_string(level);
        if (level > 0) result.findings = {"The level is " + std::to_string(level) + "."};
    }

  private:
    Traits m_traits;
    mutable std::atomic<int> m_count{0};
};

inline FakeFilter* AddFakeFilter(const std::string& name, const std::string& group,
                                 FakeFilter::Traits traits) {
    auto filter = std::make_unique<FakeFilter>(name, group, std::move(traits));
    FakeFilter* added = filter.get();
    GetContext()->RegisterFilter(std::move(filter));
    return added;
}
