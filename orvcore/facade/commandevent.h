#pragma once

#include <wx/event.h>

#include <memory>
#include <utility>

#include "orvcore/filter/filterguibase.h"
#include "orvcore/model/actionid.h"
#include "zorbase/parameter.h"

class OrvFilter;

// What an event tells; used as the event's id.
enum OrvEventId : int {
    OrvEventConfigureStarted = 0,
    OrvEventConfigureCompleted = 1,
    OrvEventConfigureInterrupted = 2,
    OrvEventActionCompleted = 3,
    OrvEventDeleteCache = 5,
    OrvEventReprocessCurrent = 6,
    OrvEventDumpEmbeddedJpgs = 8,
    OrvEventAddBookmark = 9,
    OrvEventEditBookmark = 10,
    OrvEventLoadProject = 11,
    OrvEventNewProject = 12,
    OrvEventSaveProject = 13,
    OrvEventGenerateReport = 14,
    OrvEventCommandExecuted = 15,
    OrvEventExit = 17,
};

class OrvHandshake;

// The core's event. Posted by the worker, handled on the GUI thread. For page events the event object is the
// page's event handler, filled in at the moment of delivery; an event whose page has gone is consumed before
// any handler sees it. The last copy of the event releases the worker that waits for it when it is destroyed.
class OrvCommandEvent : public wxThreadEvent {
  public:
    explicit OrvCommandEvent(OrvEventId id);
    OrvCommandEvent(const OrvCommandEvent& other) = default;
    ~OrvCommandEvent() override;
    wxEvent* Clone() const override { return new OrvCommandEvent(*this); }

    int GetActionId() const { return m_actionId; }
    int GetError() const { return m_error; }  // 0 = success
    wxString GetMessage() const;
    const VecParameter& GetParameters() const { return m_parameters; }
    OrvFilter* GetFilter() const { return m_filter; }
    // The page the event belongs to; null for events without one. GUI thread, while the event is handled.
    OrvFilterGuiBase* GetPage() const;

    void SetActionId(int id) { m_actionId = id; }
    // Sets the message, the event's string and the extra long, so that handlers of every kind find it.
    void SetError(int error, const std::string& message);
    void SetText(const std::string& utf8) { m_text = utf8; }
    // The event's string is a path (bytes), empty included.
    void SetPath(const std::string& path) {
        m_text = path;
        m_isPath = true;
    }
    void SetParameters(const VecParameter& parameters) { m_parameters = parameters; }
    // Hands the parameters over, so that a large table is not copied. There are none afterwards.
    VecParameter TakeParameters() { return std::exchange(m_parameters, VecParameter()); }
    void SetFilter(OrvFilter* filter, bool pageEvent) {
        m_filter = filter;
        m_isPageEvent = pageEvent;
    }
    bool IsPageEvent() const { return m_isPageEvent; }
    void SetHandshake(std::shared_ptr<OrvHandshake> handshake) { m_handshake = std::move(handshake); }
    const std::shared_ptr<OrvHandshake>& GetHandshake() const { return m_handshake; }

    // Called once at delivery on the GUI thread: turns the UTF-8 texts into the event's string.
    void PrepareDelivery();

  private:
    int m_actionId = -1;
    int m_error = 0;
    std::string m_message;
    std::string m_text;
    bool m_isPath = false;
    VecParameter m_parameters;
    OrvFilter* m_filter = nullptr;
    bool m_isPageEvent = false;
    std::shared_ptr<OrvHandshake> m_handshake;
};

wxDECLARE_EVENT(wxEVT_ORV_COMMAND, OrvCommandEvent);

// A slot's list of neighbouring files has changed: the event's int is the slot. Not acknowledged, never
// waited for.
wxDECLARE_EVENT(wxEVT_ORV_FILE_LIST, wxThreadEvent);

using OrvCommandEventFunction = void (wxEvtHandler::*)(OrvCommandEvent&);
#define OrvCommandEventHandler(func) wxEVENT_HANDLER_CAST(OrvCommandEventFunction, func)
