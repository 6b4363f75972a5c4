#pragma once

#include <string>
#include <vector>

#include "orvcore/tools/web/httpclient.h"
#include "zorbase/json.h"
#include "zorbase/parameter.h"

// What services on the network answer, made fit for a table. Their texts are hostile. Pure, any thread.

// One found picture, as far as the service tells; "" and 0 what it does not.
struct WebPicture {
    std::string title;
    std::string make;
    std::string model;
    std::string software;
    std::string taken;
    int width = 0;
    int height = 0;
    std::string format;
    std::string link;  // of the picture itself
    std::string page;  // where it is shown
};

// Row 0 the labels. Every text is on one line, shortened, escaped; what is no web address leaves its cell empty.
TableString WebPictureTable(const std::vector<WebPicture>& pictures);

// The body as JSON. Throws ZorException (kind Network) that names the site when it is none.
Json ReadWebJson(const HttpResponse& response);

// Members of an object, whatever the value is: a missing one, or one of another type, gives "", 0 or null. A text may be
// a number or {"_content": text}; it comes back as valid UTF-8 of at most 2,000 bytes. A number may be a text; outside
// 0..1,000,000,000 it is 0.
std::string WebText(const Json& object, const char* name);
int WebNumber(const Json& object, const char* name);
const Json& WebMember(const Json& object, const char* name);

// What a service says about a failure, on one line without the secrets, for a message.
std::string WebReason(const std::string& text, const std::vector<std::string>& secrets);

// Throws ZorException (kind Argument) that says where to enter what is missing, unless the option is filled in.
void RequireOption(const std::string& value, const std::string& label);

// Whether metadata names the wanted camera: the same model, with or without the make before it, and the same first word
// of the make. Case and blanks do not count.
bool IsSameCamera(const std::string& make, const std::string& model, const std::string& wantedMake,
                  const std::string& wantedModel);
