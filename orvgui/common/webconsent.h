#pragma once

#include <wx/string.h>

#include <vector>

#include "orvcore/tools/web/webtransfer.h"
#include "zorbase/json.h"

class OrvInterface;
class wxWindow;

// The question that stands before the first time that something is sent to a service on the web. The agreement is
// kept per service, host and whether images go there; a new address asks again.

// The transfers that were not agreed to, without those that have no host to go to. record: what AddConsent made.
std::vector<WebTransfer> FindUnagreed(const std::vector<WebTransfer>& transfers, const Json& record);
Json AddConsent(const Json& record, const std::vector<WebTransfer>& transfers);
// Names every place and what would go there; long lists are cut.
wxString ConsentQuestion(const std::vector<WebTransfer>& transfers);

// Tells which key or address the action lacks, otherwise asks what must be asked before it is called with these parameters, texts
// apart from images, and has the core keep the answer. False: nothing may be sent. GUI thread, waits for the answer.
bool AskBeforeSending(wxWindow* parent, OrvInterface& core, OrvActionId action,
                      const VecParameter& parameters);
