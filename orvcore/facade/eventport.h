#pragma once

#include <wx/eventfilter.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

#include "orvcore/facade/commandevent.h"
#include "orvcore/facade/progresshandler.h"

// One awaited event. Released once, by whoever comes first: PostResponse() while the event is handled, the
// end of the event's last copy, or shutdown.
class OrvHandshake {
  public:
    void Release();
    void Wait();
    bool IsReleased() const;

  private:
    mutable std::mutex m_mutex;
    std::condition_variable m_released;
    bool m_isReleased = false;
};

// The way out of the core: posts events to the one sink and waits for their acknowledgement. Post and the
// progress calls are made by the worker; everything else on the GUI thread.
//
// As an event filter of the toolkit it sees each event at the moment of delivery. That is when an event
// becomes the one that PostResponse() acknowledges, so an acknowledgement without an event in hand is no
// credit for the next one; and when an event whose page has gone is consumed.
class OrvEventPort : private wxEventFilter {
  public:
    OrvEventPort();
    ~OrvEventPort() override;

    void SetSink(wxEvtHandler* sink, OrvProgressHandler* handler);
    void SetConsumer(std::function<void(OrvCommandEvent&)> consumer);

    // Posts the event; with wait set, returns when it is acknowledged. Without a sink the event ends here.
    void Post(std::unique_ptr<OrvCommandEvent> event, bool wait);
    void PostFileList(int slot);
    void PostResponse();

    // Reach the progress handler on the GUI thread.
    // work: the number of the command that begins.
    void CreateProgress(std::uint64_t work);
    void DestroyProgress();

    // The newest command of which the progress handler was told. GUI thread.
    std::uint64_t GetToldWork() const { return *m_toldWork; }

    // Releases the event that is waited for, now and from now on.
    void Shutdown();

  private:
    int FilterEvent(wxEvent& event) override;
    template <typename Call>
    void CallHandler(Call call);

    std::mutex m_mutex;
    wxEvtHandler* m_sink = nullptr;
    OrvProgressHandler* m_handler = nullptr;
    std::function<void(OrvCommandEvent&)> m_consumer;
    std::shared_ptr<OrvHandshake> m_awaited;
    bool m_isShutdown = false;

    std::weak_ptr<OrvHandshake> m_delivered;  // GUI thread only
    // GUI thread only; shared, because a call that is on its way may arrive after the port has gone.
    std::shared_ptr<std::uint64_t> m_toldWork = std::make_shared<std::uint64_t>(0);
};
