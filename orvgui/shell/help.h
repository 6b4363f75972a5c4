#pragma once

#include <wx/string.h>

#include <memory>
#include <vector>

#include "orvgui/common/orvgui.h"

// One topic of the help inside the program: a name, a text and sub-topics, which it owns. A plain tree
// without a window.
class OrvHelpNode {
  public:
    OrvHelpNode(const wxString& name, const wxString& text) : m_name(name), m_text(text) {}

    const wxString& GetName() const { return m_name; }
    const wxString& GetText() const { return m_text; }
    const std::vector<std::unique_ptr<OrvHelpNode>>& GetChildren() const { return m_children; }
    // Returns the new last sub-topic; it lives as long as this node.
    OrvHelpNode* AddChild(const wxString& name, const wxString& text);

  private:
    wxString m_name;
    wxString m_text;
    std::vector<std::unique_ptr<OrvHelpNode>> m_children;
};

// The tree as plain text: each topic's name (translated), indented by two blanks per level, its text below
// it, a blank line after a topic that has a text. A null node asserts and gives an empty text.
ORVGUI_API wxString CreateHelp(OrvHelpNode* node);
