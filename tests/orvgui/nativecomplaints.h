#pragma once

#include <dlfcn.h>

#include <string>
#include <vector>

// Collects what the libraries below the window toolkit complain of on standard error as long as it lives ("Gtk: gtk_widget_...:
// assertion ... failed"). Their declarations come with no package that the toolkit's headers need.
class NativeComplaints {
  public:
    NativeComplaints() {
        m_setHandler = reinterpret_cast<SetHandler>(dlsym(RTLD_DEFAULT, "g_log_set_default_handler"));
        if (m_setHandler != nullptr) m_before = m_setHandler(&NativeComplaints::Take, this);
    }
    ~NativeComplaints() {
        if (m_setHandler != nullptr) m_setHandler(m_before, nullptr);
    }
    NativeComplaints(const NativeComplaints&) = delete;
    NativeComplaints& operator=(const NativeComplaints&) = delete;

    bool IsListening() const { return m_setHandler != nullptr; }
    // In one text, a line each.
    std::string GetText() const {
        std::string text;
        for (const std::string& message : m_messages) text += message + "\n";
        return text;
    }

  private:
    using Handler = void (*)(const char* domain, int level, const char* message, void* data);
    using SetHandler = Handler (*)(Handler handler, void* data);
    static constexpr int kSevere = 4 | 8;  // failures and criticals

    static void Take(const char* domain, int level, const char* message, void* data) {
        if ((level & kSevere) == 0) return;
        static_cast<NativeComplaints*>(data)->m_messages.push_back((domain != nullptr ? domain : "") +
                                                                   std::string(": ") + message);
    }

    SetHandler m_setHandler = nullptr;
    Handler m_before = nullptr;
    std::vector<std::string> m_messages;
};
