#include "orvgui/common/backgroundtask.h"

#include <exception>

#include "zorbase/zorexception.h"

void BackgroundTask::Start(std::function<void(std::stop_token)> work,
                           std::function<void(const std::string& error)> done) {
    Stop();
    m_isRunning = true;
    const unsigned number = m_number;
    m_thread =
        std::jthread([this, number, work = std::move(work), done = std::move(done)](std::stop_token stop) {
            std::string error;
            try {
                work(stop);
            } catch (const ZorException& exception) {
                error = exception.GetMessage();
            } catch (const std::exception& exception) {
                error = exception.what();
            }
            if (stop.stop_requested()) return;
            m_owner.CallAfter([this, number, done, error] {
                if (number != m_number) return;
                m_isRunning = false;
                done(error);
            });
        });
}

void BackgroundTask::Stop() {
    ++m_number;
    m_isRunning = false;
    if (m_thread.joinable()) {
        m_thread.request_stop();
        m_thread.join();
    }
}
