#include "zorbase/parameter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "zorbase/zorexception.h"

namespace {

using Strings = std::vector<std::string>;

constexpr ParameterType kAllTypes[] = {ParameterType::Bool,
                                       ParameterType::Int,
                                       ParameterType::IntSlider,
                                       ParameterType::IntSpin,
                                       ParameterType::Choice,
                                       ParameterType::ChoiceList,
                                       ParameterType::IntRange,
                                       ParameterType::Int64,
                                       ParameterType::Double,
                                       ParameterType::Text,
                                       ParameterType::String,
                                       ParameterType::Folder,
                                       ParameterType::FileLoad,
                                       ParameterType::FileLoadImage,
                                       ParameterType::FileSave,
                                       ParameterType::Roi,
                                       ParameterType::OrvRoi,
                                       ParameterType::VectorString,
                                       ParameterType::VectorRoi,
                                       ParameterType::OutputQuantizationTable,
                                       ParameterType::OutputImageResolution,
                                       ParameterType::OutputString,
                                       ParameterType::OutputText,
                                       ParameterType::OutputInt64,
                                       ParameterType::OutputDateTime,
                                       ParameterType::TableString};

QuantizationTables SomeTables() {
    QuantizationTable table;
    table.id = 1;
    table.values = {16, 11, 65535};
    return {table, table};
}

// One parameter of each type with a value that is not the default of its C++ type.
Parameter Make(ParameterType type) {
    switch (type) {
        case ParameterType::Bool:
            return Parameter::Bool("p", "P", true);
        case ParameterType::Int:
        case ParameterType::IntSlider:
        case ParameterType::IntSpin:
        case ParameterType::IntRange:
            return Parameter::Slider("p", "P", 7, -10, 10, type);
        case ParameterType::Choice:
        case ParameterType::ChoiceList:
            return Parameter::Choice("p", "P", 1, {"zero", "one", "2"}, type);
        case ParameterType::Int64:
            return Parameter::Int64("p", "P", std::int64_t{1} << 60, 0, std::int64_t{1} << 61);
        case ParameterType::Double:
            return Parameter::Double("p", "P", 0.1, 0, 1);
        case ParameterType::String:
            return Parameter::String("p", "P", "a; b\\");
        case ParameterType::Folder:
        case ParameterType::FileLoad:
        case ParameterType::FileLoadImage:
        case ParameterType::FileSave:
            return Parameter::Path(type, "p", "P", "/x/caf\xE9\xF4\x80\x83\xA9.jpg", "JPEG|*.jpg");
        case ParameterType::Roi:
        case ParameterType::OrvRoi:
            return Parameter::Region("p", "P", Roi(-1, 2, 3, 4), type);
        case ParameterType::VectorString:
            return Parameter::Strings("p", "P", Strings{"a", "b; c", "d\\", ""});
        case ParameterType::VectorRoi:
            return Parameter::Regions("p", "P", {Roi(1, 2, 3, 4), Roi(5, 6, 7, 8)});
        default:
            break;
    }
    Parameter output = Parameter::Output(type, "p", "P");
    bool set = false;
    switch (type) {
        case ParameterType::OutputQuantizationTable:
            set = output.SetValue(SomeTables());
            break;
        case ParameterType::OutputImageResolution:
            set = output.SetValue(ImageResolution{640, 480});
            break;
        case ParameterType::OutputInt64:
            set = output.SetValue(std::int64_t{-5});
            break;
        case ParameterType::TableString:
            set = output.SetValue(TableString{{"a", "b"}, {"1", "2"}});
            break;
        default:
            set = output.SetValue(std::string("first\r\nsecond"));
    }
    EXPECT_TRUE(set) << static_cast<int>(type);
    return output;
}

// How many of the candidate C++ types the parameter takes.
int CountAccepted(Parameter parameter) {
    return parameter.SetValue(true) + parameter.SetValue(1) + parameter.SetValue(std::int64_t{1}) +
           parameter.SetValue(0.5) + parameter.SetValue(std::string("x")) +
           parameter.SetValue(Roi(0, 0, 1, 1)) + parameter.SetValue(Strings{"x"}) +
           parameter.SetValue(std::vector<Roi>{Roi(0, 0, 1, 1)}) + parameter.SetValue(SomeTables()) +
           parameter.SetValue(ImageResolution{1, 1}) + parameter.SetValue(TableString{{"x"}}) +
           parameter.SetValue(static_cast<const char*>("x")) + parameter.SetValue(1.0f) +
           parameter.SetValue(1u);
}

TEST(Parameter, EveryTypeTakesOneCppTypeAndTravels) {
    for (const ParameterType type : kAllTypes) {
        SCOPED_TRACE(static_cast<int>(type));
        const Parameter parameter = Make(type);
        EXPECT_EQ(CountAccepted(parameter), 1);

        // Through a text of JSON, into one that holds something else.
        Parameter back = Make(type);
        if (parameter.IsOutput()) {
            EXPECT_TRUE(back.ValueFromJson(Json()));
        }
        const Json stored = JsonFromText(JsonToText(parameter.ValueToJson(), 0));
        EXPECT_TRUE(back.ValueFromJson(stored));
        EXPECT_EQ(back, parameter);

        // What a person edits comes back from its text.
        Parameter edited = Make(type);
        EXPECT_EQ(edited.SetValueFromString(parameter.GetValueAsString()), !parameter.IsOutput());
        EXPECT_EQ(edited, parameter);

        // Nothing of another form is taken.
        for (const char* text : {R"({"no":1})", "[[[1]]]", "1e300", R"([{"x":1}])"}) {
            EXPECT_FALSE(back.ValueFromJson(JsonFromText(text))) << text;
        }
        EXPECT_EQ(back.ValueFromJson(Json()), parameter.IsOutput());
        if (!parameter.IsOutput()) {
            EXPECT_EQ(back, parameter);
        }
    }
}

TEST(Parameter, ValuesStayWithinTheirBounds) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();

    Parameter quality = Parameter::Slider("quality", "Quality", 90, 1, 100);
    EXPECT_TRUE(quality.SetValue(1) && quality.SetValue(100));
    EXPECT_FALSE(quality.SetValue(0) || quality.SetValue(101) || quality.SetReference(101));
    EXPECT_FALSE(quality.SetValueFromString("101") || quality.SetValueFromString("9x") ||
                 quality.ValueFromJson(Json(101)));
    EXPECT_FALSE(quality.ValueFromJson(Json(50.5)));
    EXPECT_FALSE(quality.ValueFromJson(Json(4294967346)));  // 50 in its low half
    EXPECT_EQ(quality.Get<int>(), 100);
    quality.Reset();
    EXPECT_EQ(quality.Get<int>(), 90);

    Parameter gain = Parameter::Double("gain", "Gain", 1, -infinity, infinity);
    EXPECT_FALSE(gain.SetValue(nan) || gain.SetValue(infinity) || gain.SetValueFromString("nan"));
    EXPECT_TRUE(gain.SetValue(-1e300));

    Parameter mode = Make(ParameterType::Choice);
    EXPECT_FALSE(mode.SetValue(3) || mode.SetValue(-1) || mode.ValueFromJson(Json(3)));
    EXPECT_FALSE(mode.SetValueFromString("1"));  // an index is no option
    EXPECT_TRUE(mode.SetValueFromString("2"));
    EXPECT_EQ(mode.Get<int>(), 2);

    const std::int64_t most = std::numeric_limits<std::int64_t>::max();
    Parameter all = Parameter::Int64("n", "N", 0, -most - 1, most);
    for (const char* text : {"9223372036854775807", "-9223372036854775808"}) {
        EXPECT_TRUE(all.ValueFromJson(JsonFromText(text))) << text;
        EXPECT_EQ(all.GetValueAsString(), text);
    }
    EXPECT_FALSE(all.ValueFromJson(JsonFromText("9223372036854775808")));
    Parameter half = Parameter::Double("x", "X", 0.5, 0, 1);
    EXPECT_TRUE(half.SetValue(0.0) && half.SetValue(1.0) && half.SetValueFromString(" 1e-3 "));
    EXPECT_EQ(half.Get<double>(), 0.001);
    EXPECT_FALSE(half.SetValue(1.0000001) || half.SetValue(-0.0000001));
    EXPECT_TRUE(Make(ParameterType::Roi).SetValue(Roi(1, 2, 0, 0))) << "no region";
    EXPECT_TRUE(Make(ParameterType::VectorRoi).SetValue(std::vector<Roi>{Roi(1, 2, 0, 0)}));
    Parameter none = Parameter::Choice("e", "E", 0, {});
    EXPECT_EQ(none.GetValueAsString(), "");
    EXPECT_FALSE(none.SetValue(1));

    Parameter big = Make(ParameterType::Int64);
    EXPECT_TRUE(big.SetValue(std::int64_t{0}) && big.SetValue(std::int64_t{1} << 61));
    EXPECT_FALSE(big.SetValue((std::int64_t{1} << 61) + 1));
    EXPECT_FALSE(big.SetValue(std::int64_t{-1}) || big.ValueFromJson(Json(18446744073709551615u)));

    EXPECT_FALSE(Make(ParameterType::Roi).SetValueFromString("1, 2, 3"));
    for (const Roi& wrong : {Roi(0, 0, -1, 5), Roi(0, 0, 5, -1)}) {
        EXPECT_FALSE(Make(ParameterType::Roi).SetValue(wrong)) << ToString(wrong);
        EXPECT_FALSE(Make(ParameterType::OrvRoi).SetValue(wrong)) << ToString(wrong);
        EXPECT_FALSE(Make(ParameterType::VectorRoi).SetValue(std::vector<Roi>{Roi(1, 2, 3, 4), wrong}))
            << ToString(wrong);
        EXPECT_FALSE(Make(ParameterType::Roi).SetValueFromString(ToString(wrong)));
        EXPECT_THROW(Parameter::Region("x", "X", wrong), ZorException);
        EXPECT_THROW(Parameter::Regions("x", "X", {wrong}), ZorException);
    }

    EXPECT_THROW(Parameter::Slider("x", "X", 5, 6, 7), ZorException);
    EXPECT_THROW(Parameter::Double("x", "X", nan, 0, 1), ZorException);
    EXPECT_THROW(Parameter::Path(ParameterType::Bool, "x", "X", ""), ZorException);
    EXPECT_THROW(Parameter::Output(ParameterType::Int, "x", "X"), ZorException);
    EXPECT_THROW(Parameter::Slider("x", "X", 5, 0, 9, ParameterType::Choice), ZorException);
    EXPECT_THROW(Parameter::Choice("x", "X", 0, {"a"}, ParameterType::Int), ZorException);
    EXPECT_THROW(Parameter::Choice("x", "X", 1, {"a"}), ZorException);
    EXPECT_THROW(Parameter::Int64("x", "X", 5, 6, 7), ZorException);
    EXPECT_THROW(Parameter::Region("x", "X", Roi(), ParameterType::VectorRoi), ZorException);
    try {
        Parameter::Int("x\xFF", "X", 8, 6, 7);
        FAIL();
    } catch (const ZorException& error) {
        EXPECT_EQ(error.GetMessage(),
                  "The parameter \"x\xEF\xBF\xBD\" is declared with a type or default that does not fit.");
    }
}

TEST(Parameter, WrongTypeOnReadingIsAnError) {
    const Parameter quality = Parameter::Slider("quality", "Quality", 90, 1, 100);
    EXPECT_THROW(quality.Get<double>(), ZorException);
    EXPECT_THROW(quality.Get<int>(true), ZorException);  // no reference yet
    const VecParameter list{quality};
    EXPECT_EQ(list.Get<int>("quality"), 90);
    try {
        list.Get<int>("gain");
        FAIL();
    } catch (const ZorException& error) {
        EXPECT_EQ(error.GetKind(), ZorException::Kind::Argument);
        EXPECT_EQ(error.GetMessage(), "There is no parameter \"gain\" with a value of the expected type.");
    }
}

TEST(Parameter, CopyingKeepsTheTargetsBounds) {
    Parameter narrow = Parameter::Slider("a", "A", 5, 0, 10);
    Parameter wide = Parameter::Slider("b", "B", 50, 0, 100);
    EXPECT_FALSE(narrow.Set(wide));
    EXPECT_FALSE(narrow.SetReferenceFrom(wide));
    ASSERT_TRUE(wide.SetValue(9));
    ASSERT_TRUE(wide.SetReference(11));
    EXPECT_FALSE(narrow.Set(wide));  // its reference does not fit
    EXPECT_EQ(narrow, Parameter::Slider("a", "A", 5, 0, 10));
    ASSERT_TRUE(wide.SetReference(8));
    EXPECT_TRUE(narrow.Set(wide));
    EXPECT_EQ(narrow.Get<int>(), 9);
    EXPECT_EQ(narrow.Get<int>(true), 8);
    EXPECT_EQ(narrow.Name(), "a");
    EXPECT_EQ(narrow.GetMaximum(), 10);
    EXPECT_TRUE(narrow.SetReferenceFrom(wide));
    EXPECT_EQ(narrow.Get<int>(true), 9) << "its value";
    EXPECT_FALSE(narrow.Set(Parameter::Slider("a", "A", 5, 0, 10, ParameterType::IntSpin)));

    // An output that is not set yet empties the other.
    Parameter result = Parameter::Output("r", "R", "text");
    EXPECT_TRUE(result.Set(Parameter::Output(ParameterType::OutputString, "r", "R")));
    EXPECT_FALSE(result.IsSet());
}

TEST(Parameter, EqualityIsTypeNameAndBothValues) {
    const Parameter a = Parameter::Slider("a", "A", 5, 0, 10);
    EXPECT_EQ(a, Parameter::Slider("a", "other label", 5, -100, 100));
    EXPECT_NE(a, Parameter::Slider("b", "A", 5, 0, 10));
    EXPECT_NE(a, Parameter::Slider("a", "A", 6, 0, 10));
    EXPECT_NE(a, Parameter::Slider("a", "A", 5, 0, 10, ParameterType::IntSpin));
    Parameter withReference = a;
    ASSERT_TRUE(withReference.SetReference(5));
    EXPECT_NE(a, withReference);
    withReference.ClearReference();
    EXPECT_EQ(a, withReference);
}

TEST(Parameter, TextsAreOneLine) {
    EXPECT_EQ(Make(ParameterType::FileLoad).GetFileType(), "JPEG|*.jpg");
    EXPECT_EQ(Make(ParameterType::Bool).GetValueAsString(), "true");
    EXPECT_EQ(Make(ParameterType::Choice).GetValueAsString(), "one");
    EXPECT_EQ(Make(ParameterType::Roi).GetValueAsString(), "-1, 2, 3, 4");
    EXPECT_EQ(Make(ParameterType::VectorRoi).GetValueAsString(), "1, 2, 3, 4; 5, 6, 7, 8");
    EXPECT_EQ(Make(ParameterType::OutputQuantizationTable).GetValueAsString(),
              "Table 1: 16 11 65535; Table 1: 16 11 65535");
    EXPECT_EQ(Make(ParameterType::OutputImageResolution).GetValueAsString(), "640 x 480");
    EXPECT_EQ(Make(ParameterType::TableString).GetValueAsString(), "a, b; 1, 2");
    EXPECT_EQ(Make(ParameterType::OutputText).GetValueAsString(), "first second");
    EXPECT_EQ(Make(ParameterType::OutputText).GetValueAsString(true), "");
    EXPECT_EQ(Parameter::Output(ParameterType::OutputInt64, "n", "N").GetValueAsString(), "");
    // What a person edits comes back as it was.
    EXPECT_EQ(Parameter::String("s", "S", "a\r\n\tb").GetValueAsString(), "a\r\n\tb");
    // JSON takes no byte that is not UTF-8.
    for (const Parameter& text :
         {Parameter::String("s", "S", "caf\xE9"), Parameter::Output("s", "S", "caf\xE9")})
        EXPECT_EQ(JsonToText(text.ValueToJson(), 0), "\"caf\xEF\xBF\xBD\"");
}

TEST(Parameter, ListsComeBackFromWhatAPersonTypes) {
    const std::pair<const char*, Strings> lists[] = {
        {"", {}},          {"a", {"a"}},       {"a;b", {"a", "b"}}, {"a;  b", {"a", " b"}},
        {"a;", {"a", ""}}, {"a; ", {"a", ""}}, {";", {"", ""}},     {"a\\;b\\\\", {"a;b\\"}},
        {"a\\", {"a\\"}},  {"\\a", {"a"}}};
    for (const auto& [text, expected] : lists) {
        Parameter list = Make(ParameterType::VectorString);
        ASSERT_TRUE(list.SetValueFromString(text)) << text;
        EXPECT_EQ(list.Get<Strings>(), expected) << text;
    }
    Parameter regions = Make(ParameterType::VectorRoi);
    ASSERT_TRUE(regions.SetValueFromString("1,2,3,4 ;; 5, 6, 7, 8;"));
    EXPECT_EQ(regions.Get<std::vector<Roi>>(), (std::vector<Roi>{Roi(1, 2, 3, 4), Roi(5, 6, 7, 8)}));
    EXPECT_FALSE(regions.SetValueFromString("1,2,3,4;x"));
    EXPECT_TRUE(regions.SetValueFromString(""));
    EXPECT_TRUE(regions.Get<std::vector<Roi>>().empty());
    Parameter number = Parameter::Int("n", "N", 0, -9, 9);
    EXPECT_TRUE(number.SetValueFromString("\t-7 "));
    EXPECT_EQ(number.Get<int>(), -7);
}

TEST(Parameter, TablesOfAFileKeepTheirNumbers) {
    Parameter tables = Make(ParameterType::OutputQuantizationTable);
    EXPECT_EQ(
        JsonToText(tables.ValueToJson(), 0),
        R"([{"id":1,"precision":8,"values":[16,11,65535]},{"id":1,"precision":8,"values":[16,11,65535]}])");
    EXPECT_TRUE(tables.ValueFromJson(JsonFromText(R"([{"id":3,"precision":16,"values":[0,65535]}])")));
    EXPECT_EQ(tables.Get<QuantizationTables>(), (QuantizationTables{{3, 16, {0, 65535}}}));
    for (const char* text :
         {R"([{"id":3,"precision":16,"values":[65536]}])", R"([{"id":3,"precision":16,"values":[-1]}])",
          R"([{"id":3,"values":[1]}])", R"([{"precision":8,"values":[1]}])", R"([{"id":3,"precision":8}])",
          R"({"id":3,"precision":8,"values":[1]})"})
        EXPECT_FALSE(tables.ValueFromJson(JsonFromText(text))) << text;
    Parameter resolution = Make(ParameterType::OutputImageResolution);
    EXPECT_EQ(JsonToText(resolution.ValueToJson(), 0), R"({"height":480,"width":640})");
    EXPECT_FALSE(resolution.ValueFromJson(JsonFromText(R"({"width":1})")));
    Parameter text = Make(ParameterType::OutputText);
    ASSERT_TRUE(text.SetValue(std::string("a\rb\n\nc\r\r\n\r")));
    EXPECT_EQ(text.GetValueAsString(), "a b  c   ");
}

TEST(ParameterList, OneLineNamesTheConfiguration) {
    const VecParameter list{Parameter::Slider("q", "Quality", 90, 1, 100),
                            Parameter::Double("g", "Gain", 2.5, 0, 10),
                            Parameter::Bool("i", "Internal", true).SetHiddenFromGui(),
                            Parameter::Choice("m", "Mode", 1, {"fast", "exact"}),
                            Parameter::String("t", "Title", ""),
                            Parameter::String("n", "Note", "two\nlines\xFF"),
                            Parameter::Region("r", "Region", Roi(1, 2, 3, 4))};
    EXPECT_EQ(GetParametersString(list, true),
              "Quality 90, Gain 2.5, Mode exact, Note two lines\xEF\xBF\xBD, Region 1, 2, 3, 4");
    EXPECT_EQ(
        GetParametersString(list, false),
        "Quality 90, Gain 2.5, Internal true, Mode exact, Note two lines\xEF\xBF\xBD, Region 1, 2, 3, 4");
    EXPECT_EQ(GetParametersString({}, true), "");
    EXPECT_EQ(GetParametersString({Parameter::String("t", "Title", "")}, true), "");
}

TEST(ParameterList, ReadingTakesWhatFitsAndNamesTheRest) {
    const VecParameter defaults{Parameter::Slider("q", "Quality", 90, 1, 100),
                                Parameter::Bool("b", "Flag", false)};
    VecParameter list = defaults;
    Strings problems;
    list.FromJson(JsonFromText(R"({"q": 500, "b": true, "gone": 1})"), problems);
    ASSERT_EQ(problems.size(), 2u);
    std::sort(problems.begin(), problems.end());
    EXPECT_EQ(problems, (Strings{"The value stored for the parameter \"q\" does not fit.",
                                 "There is no parameter \"gone\"."}));
    EXPECT_EQ(list.Get<int>("q"), 90);
    EXPECT_EQ(list.Get<bool>("b"), true);
    EXPECT_NE(list, defaults);

    VecParameter copy = defaults;
    problems.clear();
    copy.FromJson(list.ToJson(), problems);
    EXPECT_TRUE(problems.empty());
    EXPECT_EQ(copy, list);
    copy.Reset();
    EXPECT_EQ(copy, defaults);

    for (const char* text : {"[1]", "[]", "7", "null", "\"q\""}) {
        problems.clear();
        copy.FromJson(JsonFromText(text), problems);
        EXPECT_EQ(problems, Strings{"The parameters are not stored as an object."}) << text;
    }
    EXPECT_EQ(copy, defaults);
}

TEST(ParameterList, WholeNumbersReachBothEndsOfTheirType) {
    constexpr int kLeast = std::numeric_limits<int>::min();
    constexpr int kMost = std::numeric_limits<int>::max();
    Parameter whole = Parameter::Int("n", "Number", 0, kLeast, kMost);
    for (const int value : {kLeast, kMost}) {
        EXPECT_TRUE(whole.ValueFromJson(Json(value))) << value;
        EXPECT_EQ(whole.Get<int>(), value);
    }
    EXPECT_FALSE(whole.ValueFromJson(Json(std::int64_t{kLeast} - 1)));
    EXPECT_FALSE(whole.ValueFromJson(Json(std::int64_t{kMost} + 1)));
}

}  // namespace
