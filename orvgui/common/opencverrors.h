#pragma once

#include <string>

// Turns the errors of OpenCV into ZorExceptions, so that the call that failed unwinds into whatever made it. The texts are
// translated when the handler is installed: an error may come from any thread, the translation lookup must not. GUI thread, once a
// language has been chosen; installing again takes the texts afresh.
void InstallOpenCvErrorHandler();

// What the user reads of an OpenCV error, UTF-8.
std::string OpenCvErrorMessage(const std::string& error, const std::string& sourceFile, int line);
