#include "orvcore/facade/eventport.h"

void OrvHandshake::Release() {
    {
        const std::lock_guard lock(m_mutex);
        m_isReleased = true;
    }
    m_released.notify_all();
}

void OrvHandshake::Wait() {
    std::unique_lock lock(m_mutex);
    m_released.wait(lock, [this] { return m_isReleased; });
}

bool OrvHandshake::IsReleased() const {
    const std::lock_guard lock(m_mutex);
    return m_isReleased;
}

OrvEventPort::OrvEventPort() {
    wxEvtHandler::AddFilter(this);
}

OrvEventPort::~OrvEventPort() {
    wxEvtHandler::RemoveFilter(this);
}

void OrvEventPort::SetSink(wxEvtHandler* sink, OrvProgressHandler* handler) {
    const std::lock_guard lock(m_mutex);
    m_sink = sink;
    m_handler = sink != nullptr ? handler : nullptr;
    // The old sink may be going away with the awaited event still in its queue.
    if (sink == nullptr && m_awaited) m_awaited->Release();
}

void OrvEventPort::SetConsumer(std::function<void(OrvCommandEvent&)> consumer) {
    const std::lock_guard lock(m_mutex);
    m_consumer = std::move(consumer);
}

void OrvEventPort::Post(std::unique_ptr<OrvCommandEvent> event, bool wait) {
    std::function<void(OrvCommandEvent&)> consumer;
    std::shared_ptr<OrvHandshake> handshake;
    {
        const std::lock_guard lock(m_mutex);
        if (m_isShutdown) return;
        consumer = m_consumer;
        if (!consumer) {
            if (m_sink == nullptr) return;
            if (wait) {
                handshake = std::make_shared<OrvHandshake>();
                m_awaited = handshake;
                // What the event carries is a second owner whose end releases the wait, whichever way the
                // event ends.
                event->SetHandshake(std::shared_ptr<OrvHandshake>(
                    handshake.get(), [keep = handshake](OrvHandshake*) { keep->Release(); }));
            }
            wxQueueEvent(m_sink, event.release());
        }
    }
    if (consumer) {
        event->PrepareDelivery();
        consumer(*event);
        return;
    }
    if (!handshake) return;
    handshake->Wait();
    const std::lock_guard lock(m_mutex);
    m_awaited.reset();
}

void OrvEventPort::PostFileList(int slot) {
    const std::lock_guard lock(m_mutex);
    if (m_isShutdown || m_sink == nullptr) return;
    auto* event = new wxThreadEvent(wxEVT_ORV_FILE_LIST);
    event->SetInt(slot);
    wxQueueEvent(m_sink, event);
}

void OrvEventPort::PostResponse() {
    if (const auto delivered = m_delivered.lock()) delivered->Release();
    m_delivered.reset();
}

template <typename Call>
void OrvEventPort::CallHandler(Call call) {
    const std::lock_guard lock(m_mutex);
    if (m_isShutdown || m_sink == nullptr || m_handler == nullptr) return;
    m_sink->CallAfter([handler = m_handler, call] { call(*handler); });
}

void OrvEventPort::CreateProgress(std::uint64_t work) {
    CallHandler([told = m_toldWork, work](OrvProgressHandler& handler) {
        *told = work;
        handler.CreateProgress();
    });
}

void OrvEventPort::DestroyProgress() {
    CallHandler([](OrvProgressHandler& handler) { handler.DestroyProgress(); });
}

void OrvEventPort::Shutdown() {
    const std::lock_guard lock(m_mutex);
    m_isShutdown = true;
    if (m_awaited) m_awaited->Release();
}

int OrvEventPort::FilterEvent(wxEvent& event) {
    if (event.GetEventType() != wxEVT_ORV_COMMAND) return Event_Skip;
    auto& command = static_cast<OrvCommandEvent&>(event);
    command.PrepareDelivery();
    if (command.IsPageEvent() && command.GetPage() == nullptr) return Event_Processed;
    if (command.GetHandshake()) m_delivered = command.GetHandshake();
    return Event_Skip;
}
