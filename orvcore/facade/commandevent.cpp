#include "orvcore/facade/commandevent.h"

#include "orvcore/filter/filter.h"
#include "zorbase/text.h"

wxDEFINE_EVENT(wxEVT_ORV_COMMAND, OrvCommandEvent);
wxDEFINE_EVENT(wxEVT_ORV_FILE_LIST, wxThreadEvent);

OrvCommandEvent::OrvCommandEvent(OrvEventId id) : wxThreadEvent(wxEVT_ORV_COMMAND, id) {}

OrvCommandEvent::~OrvCommandEvent() = default;

wxString OrvCommandEvent::GetMessage() const {
    return ToWx(m_message);
}

OrvFilterGuiBase* OrvCommandEvent::GetPage() const {
    return m_filter != nullptr ? m_filter->GetAnalsyisFilterGui() : nullptr;
}

void OrvCommandEvent::SetError(int error, const std::string& message) {
    m_error = error;
    m_message = message;
    SetExtraLong(error);
}

void OrvCommandEvent::PrepareDelivery() {
    // The toolkit's string is made here and not by the worker: its conversions are cached and must not be
    // shared.
    SetString(m_isPath ? PathToWx(m_text) : ToWx(m_text.empty() ? m_message : m_text));
    if (OrvFilterGuiBase* page = GetPage()) SetEventObject(page->GetEvtHandler());
}
