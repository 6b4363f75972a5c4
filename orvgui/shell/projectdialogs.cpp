#include "orvgui/shell/projectdialogs.h"

#include <wx/translation.h>

#include "orvgui/dialogs/fieldsdialog.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

bool AskForBookmark(wxWindow* parent, const wxString& title, wxString& name, wxString& note) {
    FieldsDialog dialog(wxGetTopLevelParent(parent), title, {{_("Name"), name}, {_("Note"), note, true}},
                        [](const std::vector<wxString>& texts) {
                            return texts[0].empty() ? wxString(_("The bookmark needs a name.")) : wxString();
                        });
    if (dialog.ShowModal() != wxID_OK) return false;
    name = dialog.GetText(0);
    note = dialog.GetText(1);
    return true;
}

bool AskForCaseData(wxWindow* parent, OrvCaseData& data) {
    std::string* const texts[] = {&data.title, &data.examiner, &data.reviewer, &data.question, &data.limits};
    FieldsDialog dialog(wxGetTopLevelParent(parent), _("Case Data"),
                        {{_("Case"), ToWx(data.title)},
                         {_("Examiner"), ToWx(data.examiner)},
                         {_("Reviewer"), ToWx(data.reviewer)},
                         {_("Question asked"), ToWx(data.question), true},
                         {_("Limits of the examination"), ToWx(data.limits), true}});
    if (dialog.ShowModal() != wxID_OK) return false;
    for (std::size_t i = 0; i < std::size(texts); ++i) *texts[i] = FromWx(dialog.GetText(i));
    return true;
}

bool AskForExhibit(wxWindow* parent, OrvExhibit& exhibit) {
    std::string* const texts[] = {&exhibit.number, &exhibit.receivedFrom, &exhibit.receivedOn,
                                  &exhibit.expectedHash};
    FieldsDialog dialog(
        wxGetTopLevelParent(parent), wxString::Format(_("Exhibit: %s"), ToWx(PathName(exhibit.file.path))),
        {{_("Number"), ToWx(exhibit.number)},
         {_("Received from"), ToWx(exhibit.receivedFrom)},
         {_("Received on"), ToWx(exhibit.receivedOn)},
         {_("Expected hash"), ToWx(exhibit.expectedHash), false,
          _("MD5, SHA-1 or SHA-256, as it was written down")}},
        [](const std::vector<wxString>& entered) {
            return ParseExpectedHash(FromWx(entered[3])).kind == OrvExpectedHash::Kind::Unreadable
                       ? wxString(_("The expected hash is neither an MD5, a SHA-1 nor a SHA-256."))
                       : wxString();
        });
    if (dialog.ShowModal() != wxID_OK) return false;
    for (std::size_t i = 0; i < std::size(texts); ++i) *texts[i] = FromWx(dialog.GetText(i));
    return true;
}
