#include "orvgui/shell/help.h"

#include <wx/debug.h>
#include <wx/translation.h>

namespace {

void AppendNode(const OrvHelpNode& node, int level, wxString& text) {
    const wxString indent(' ', static_cast<std::size_t>(2 * level));
    text += indent + wxGetTranslation(node.GetName()) + "\n";
    if (!node.GetText().empty()) {
        wxString body = wxGetTranslation(node.GetText());
        body.Replace("\n", "\n" + indent + "  ");
        text += indent + "  " + body + "\n\n";
    }
    for (const auto& child : node.GetChildren()) AppendNode(*child, level + 1, text);
}

}  // namespace

OrvHelpNode* OrvHelpNode::AddChild(const wxString& name, const wxString& text) {
    m_children.push_back(std::make_unique<OrvHelpNode>(name, text));
    return m_children.back().get();
}

wxString CreateHelp(OrvHelpNode* node) {
    wxCHECK_MSG(node, wxString(), "node");
    wxString text;
    AppendNode(*node, 0, text);
    return text;
}
