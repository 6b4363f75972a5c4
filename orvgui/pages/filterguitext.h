#pragma once

#include "orvgui/pages/filtergui.h"

// The page of a filter whose results are its output parameters, shown as text. While no file is loaded, or
// when the filter failed, one sentence says so in their place.
class ORVGUI_API OrvFilterGuiText : public OrvFilterGui {
  public:
    using OrvFilterGui::OrvFilterGui;

    void CreateControlsDescription() override {}
    void CreateControlsInput() override;
    void CreateControlsOutput() override;
    void UpdateFocus() override {}
    void UpdateControlsCustom() override;
};
