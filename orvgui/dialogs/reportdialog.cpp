#include "orvgui/dialogs/reportdialog.h"

#include <wx/translation.h>

#include <memory>

#include "orvcore/facade/interface.h"
#include "orvcore/report/report.h"
#include "orvgui/common/fileselectors.h"
#include "orvgui/dialogs/tooldialog.h"
#include "zorbase/text.h"

namespace {

constexpr const char* kRecord = "report";
constexpr const char* kContents = "contents";
constexpr const char* kFormat = "format";

constexpr OrvReportContents kEntries[] = {OrvReportContents::Everything, OrvReportContents::Bookmarks,
                                          OrvReportContents::Verdicts};

int Remembered(const Json& record, const char* name, int count) {
    const auto found = record.find(name);
    if (found == record.end() || !found->is_number_integer()) return 0;
    const auto value = found->get<std::int64_t>();
    return value >= 0 && value < count ? static_cast<int>(value) : 0;
}

}  // namespace

bool AskForReport(wxWindow* parent, const wxString& proposedName, OrvReportWish& wish) {
    OrvInterface* core = GetInterface();
    const Json record = core ? core->GetToolSettings(kRecord) : Json::object();
    OrvToolDialog dialog(parent, _("Generate Report"));
    dialog.SetParameters(
        {Parameter::Choice(kContents, wxTRANSLATE("Contents"), Remembered(record, kContents, 3),
                           {wxTRANSLATE("Everything: bookmarks and every filter in use"),
                            wxTRANSLATE("Bookmarks, and the verdicts of them in one table"),
                            wxTRANSLATE("Verdicts only: one table of every filter in use")})
             .SetToolTip(
                 wxTRANSLATE("Case data, files, marks and how to repeat the results are in each of them.")),
         Parameter::Choice(
             kFormat, wxTRANSLATE("Written as"), Remembered(record, kFormat, 2),
             {wxTRANSLATE("Page for the browser (HTML)"), wxTRANSLATE("File for printing (PDF)")})
             .SetToolTip(wxTRANSLATE("Both hold the same."))});
    dialog.SetOkLabel(_("Generate"));
    dialog.Init();
    if (dialog.ShowModal() != wxID_OK) return false;
    const VecParameter chosen = dialog.GetParameters();
    const int contents = chosen.Get<int>(kContents);
    const int format = chosen.Get<int>(kFormat);
    wish.contents = kEntries[contents];
    wish.path.clear();
    if (format == 1) {
        wish.path = OrvFileSaveSelector(_("Choose a file to save"), proposedName + ".pdf",
                                        _("PDF Files (*.pdf)|*.pdf"));
        if (wish.path.empty()) return false;
    }
    const Json now = {{kContents, contents}, {kFormat, format}};
    if (core && now != record) core->SetToolSettings(kRecord, now);
    return true;
}
