#pragma once

#include <boost/any.hpp>

#include <string>

#include "zorbase/json.h"
#include "zorbase/parameter.h"

// What the type code of a parameter says about its value: the C++ type it has, its text and its JSON form.
// Used by Parameter alone, which adds bounds and options. A value that is passed in holds the type of its
// code, unless it is said otherwise; readers answer an empty value when text or JSON is not such a value.

bool HoldsPath(ParameterType type);
bool HasTypeOf(ParameterType type, const boost::any& value);  // value may hold anything or nothing
bool EqualValues(ParameterType type, const boost::any& a, const boost::any& b);  // both may be empty
std::string ValueToText(ParameterType type, const boost::any& value);
boost::any ValueFromText(ParameterType type, const std::string& text);  // of the types that a person edits
Json ValueToJson(ParameterType type, const boost::any& value);
boost::any ValueFromJson(ParameterType type, const Json& json);

// Line breaks become blanks.
std::string ToOneLine(const std::string& text);
