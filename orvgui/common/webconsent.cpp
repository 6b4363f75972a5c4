#include "orvgui/common/webconsent.h"

#include <wx/translation.h>

#include <algorithm>

#include "orvcore/facade/interface.h"
#include "orvcore/model/webservices.h"
#include "orvcore/tools/web/weboptions.h"
#include "orvgui/common/messagebox.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr const char* kRecord = "webConsent";
constexpr const char* kAgreed = "agreed";
constexpr std::size_t kMostAgreements = 1000;
constexpr std::size_t kMostNamed = 10;

Json ToEntry(const WebTransfer& transfer) {
    return {{"service", ToValidUtf8(transfer.service)},
            {"host", ToValidUtf8(transfer.host)},
            {"image", transfer.sendsImage}};
}

Json ListOf(const Json& record) {
    const auto list = record.is_object() ? record.find(kAgreed) : record.end();
    return record.is_object() && list != record.end() && list->is_array() ? *list : Json::array();
}

bool Holds(const Json& list, const Json& entry) {
    return std::find(list.begin(), list.end(), entry) != list.end();
}

}  // namespace

std::vector<WebTransfer> FindUnagreed(const std::vector<WebTransfer>& transfers, const Json& record) {
    const Json agreed = ListOf(record);
    std::vector<WebTransfer> unagreed;
    for (const WebTransfer& transfer : transfers)
        if (!transfer.host.empty() && !Holds(agreed, ToEntry(transfer))) unagreed.push_back(transfer);
    return unagreed;
}

Json AddConsent(const Json& record, const std::vector<WebTransfer>& transfers) {
    Json list = ListOf(record);
    for (const WebTransfer& transfer : transfers) {
        Json entry = ToEntry(transfer);
        if (!Holds(list, entry)) list.push_back(std::move(entry));
    }
    // The oldest go first.
    if (list.size() > kMostAgreements)
        list.erase(list.begin(), list.end() - static_cast<std::ptrdiff_t>(kMostAgreements));
    return {{kAgreed, std::move(list)}};
}

wxString ConsentQuestion(const std::vector<WebTransfer>& transfers) {
    const bool isImage = std::any_of(transfers.begin(), transfers.end(),
                                     [](const auto& transfer) { return transfer.sendsImage; });
    wxString text = isImage ? _("The picture itself would leave this computer. It would be sent to:")
                            : _("This would be sent over the network, for the first time to:");
    text += "\n";
    for (std::size_t i = 0; i < std::min(transfers.size(), kMostNamed); ++i) {
        const WebTransfer& transfer = transfers[i];
        text += "\n" + wxString::FromUTF8("• ") +
                wxString::Format(_("%s (%s): %s."), ToWx(transfer.service), ToWx(transfer.host),
                                 wxGetTranslation(ToWx(transfer.what)));
    }
    if (transfers.size() > kMostNamed)
        text += "\n" + wxString::Format(_("and %d more"), static_cast<int>(transfers.size() - kMostNamed));
    return text + "\n\n" + _("Nothing has been sent yet. You are asked once for each service and address.");
}

bool AskBeforeSending(wxWindow* parent, OrvInterface& core, OrvActionId action,
                      const VecParameter& parameters) {
    // Without a key nothing can be sent: nobody is asked whether it may.
    try {
        RequireWebOptions(action, ReadWebServices(core.GetProgramOptions()));
    } catch (const ZorException& missing) {
        OrvMessageBox(ToWx(missing.GetMessage()), _("Error"), wxOK | wxICON_ERROR, parent);
        return false;
    }
    const std::vector<WebTransfer> unagreed =
        FindUnagreed(core.GetWebTransfers(action, parameters), core.GetToolSettings(kRecord));
    for (const bool isImage : {false, true}) {
        std::vector<WebTransfer> asked;
        for (const WebTransfer& transfer : unagreed)
            if (transfer.sendsImage == isImage) asked.push_back(transfer);
        if (asked.empty()) continue;
        const int answer = OrvQuestionBox(ConsentQuestion(asked),
                                          isImage ? _("Send The Picture To The Web") : _("Send To The Web"),
                                          _("Send"), _("Do Not Send"), wxNO_DEFAULT | wxICON_WARNING, parent);
        if (answer != wxYES) return false;
        core.SetToolSettings(kRecord, AddConsent(core.GetToolSettings(kRecord), asked));
    }
    return true;
}
