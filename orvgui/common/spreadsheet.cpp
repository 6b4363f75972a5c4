#include "orvgui/common/spreadsheet.h"

#ifdef __WXMSW__
#include <wx/msw/ole/automtn.h>
#endif

namespace {

std::function<SpreadsheetResult(const wxString&)>& Opener() {
    static std::function<SpreadsheetResult(const wxString&)> s_opener;
    return s_opener;
}

}  // namespace

void SetSpreadsheetOpener(std::function<SpreadsheetResult(const wxString& file)> opener) {
    Opener() = std::move(opener);
}

SpreadsheetResult OpenInSpreadsheet(const wxString& file) {
    if (Opener()) return Opener()(file);
#ifdef __WXMSW__
    wxAutomationObject excel;
    if (!excel.CreateInstance("Excel.Application")) return SpreadsheetResult::NotInstalled;
    excel.PutProperty("Visible", true);
    const wxVariant book = excel.CallMethod("Workbooks.Open", file);
    return book.IsNull() ? SpreadsheetResult::NotOpened : SpreadsheetResult::Opened;
#else
    return SpreadsheetResult::NotInstalled;
#endif
}
