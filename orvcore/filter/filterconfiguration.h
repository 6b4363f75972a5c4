#pragma once

#include "orvcore/filter/filterresult.h"
#include "zorbase/parameter.h"

// One saved parameter set of a filter. A plain value.
class OrvFilterConfiguration {
  public:
    OrvFilterConfiguration() = default;
    explicit OrvFilterConfiguration(VecParameter parameters) : m_parameters(std::move(parameters)) {}

    const VecParameter& GetParameters() const { return m_parameters; }
    bool IsEnabled() const { return m_enabled; }
    void Enable(bool enabled) { m_enabled = enabled; }
    FilterStatus GetFilterStatus() const { return m_status; }
    void SetFilterStatus(FilterStatus status) { m_status = status; }

  private:
    VecParameter m_parameters;
    bool m_enabled = true;
    FilterStatus m_status = FilterStatus::NotProcessed;
};
