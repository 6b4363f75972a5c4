#pragma once

class wxEvtHandler;

// The core's handle on a filter page. Pages belong to their parent window; the core holds them weakly (see
// OrvFilter::SetAnalysisFilterGui). GUI thread only.
class OrvFilterGuiBase {
  public:
    virtual ~OrvFilterGuiBase() = default;
    virtual void Init() = 0;
    virtual wxEvtHandler* GetEvtHandler() = 0;
};
