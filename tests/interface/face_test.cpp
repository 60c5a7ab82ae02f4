// The C++ face: values go to the service and come back as they were, and failures say why.
#include <gtest/gtest.h>

#include <cerrno>
#include <lutc/lutc.hpp>

#include "tests/support/calls.h"
#include "tests/support/documents.h"
#include "tests/support/scripted_service.h"

namespace {

template <class Call>
auto call_with(const std::string& reply, Call call, int times = 1) {
    scripted_service service({send(reply), hang_up()});
    service.serve(times);
    return call();
}

// What comes back of a grade when the service stores the components as they were sent.
lutc::grade returned(const lutc::grade& sent) {
    scripted_service service({send(encoded(response(""))), hang_up()});
    lutc::send_preset("p", sent);
    const auto command = document_from(decoded(service.command()));
    std::unique_ptr<bsonElement> components(command->getElementWithKey("gradeCombo", 0)->getCopy());
    const auto reply = document_from("{'type':'response','code':0,'gradeComboIndex':2}");
    reply->elementList.push_back(components.release());
    return call_with(
        encoded(*reply), [] { return lutc::recv_preset("p").components; }, sent.size() < 64 ? 1 : 2);
}

TEST(Face, gradesSurviveTheRoundTrip) {
    const lutc::cdl_values cdl{{1.1, 1, 1}, {0, -0.5, 0}, {1, 1, 2}, 0.9, 1};
    const lutc::grade every = {cdl, lutc::saturation{0.5, 2}, lutc::lut_1d{"f", {1, 2}, 3}, lutc::lut_3d{"", {}, 4},
                               lutc::raw_colour{{9}, false, 5}};
    EXPECT_EQ(returned(every), every);
    EXPECT_EQ(returned(lutc::grade(70, every[2])), lutc::grade(70, every[2]));  // more than are asked for at first
    const auto nothing = document_from("{'':{'type':'','typeIndex':true}}");    // components in few bytes
    const auto reply = document_from("{'type':'response','code':0,'gradeComboIndex':2,'gradeCombo':{}}");
    for (int i = 0; i < 66000; ++i) {
        reply->getElementWithKey("gradeCombo", 0)
            ->documentValue->elementList.push_back(nothing->elementList[0]->getCopy());
    }
    const auto count = [] { return lutc::recv_preset("p").components.size(); };
    EXPECT_EQ(call_with(encoded(*reply), count, 2), 66000u);
    lutc::cdl_values neutral;
    neutral.slot = 1;
    EXPECT_EQ(returned({neutral}), (lutc::grade{lutc::saturation{1.0, 1}}));
    EXPECT_NE(every, returned({neutral}));
}

TEST(Face, kindsAreSettledByTheCombination) {
    const lutc::cdl_values warm{{1.1, 1, 1}, {0, 0, 0}, {1, 1, 1}, 0.9, 0};
    lutc::cdl_values neutral;
    neutral.saturation = 0.5;
    const lutc::saturation half{0.5, 0};
    const lutc::raw_colour cdl_bytes{{1}, false, 0}, saturation_bytes{{1}, true, 0};
    const lutc::lut_1d lut{"f", {1}, 0};
    const struct {
        std::vector<std::string> combination;
        lutc::grade read, settled;
        std::vector<std::size_t> guesses;
    } rows[] = {
        {{"cdl", "1dlut"}, {half, lut, cdl_bytes}, {neutral, lut, cdl_bytes}, {}},
        {{"saturation"}, {half, cdl_bytes, warm}, {half, saturation_bytes, warm}, {}},
        {{"saturation", "cdl"}, {warm, half}, {warm, half}, {}},
        {{"saturation", "cdl"}, {half, half}, {half, neutral}, {}},
        {{"cdl", "saturation"}, {cdl_bytes, cdl_bytes}, {cdl_bytes, saturation_bytes}, {}},
        {{"cdl", "saturation"}, {lut, half, cdl_bytes, half}, {lut, half, cdl_bytes, half}, {1, 2, 3}},
        {{}, {half, cdl_bytes}, {half, cdl_bytes}, {0, 1}},
    };
    for (const auto& row : rows) {
        lutc::grade grade = row.read;
        EXPECT_EQ(lutc::settle_kinds(grade, row.combination), row.guesses);
        EXPECT_EQ(grade, row.settled) << &row - rows;
    }
}

TEST(Face, answersBecomeValues) {
    const auto answer = [](auto call) { return call_with(encoded(any_reply), call); };
    const std::string text = "a text on a heap";
    EXPECT_EQ(answer([] { return lutc::preset_list(); }),
              (lutc::preset_library{{{"a", 1, {text}}, {"b", 1, {"cdl"}}}, 9}));
    EXPECT_EQ(answer([] { return lutc::model_info(); }),
              (lutc::model{text, text, text, {{text}}, {{"A", {1}}, {"B", {}}}}));
    EXPECT_EQ(answer([] { return lutc::get_preset(1); }), (lutc::preset_choice{text, 1}));
    EXPECT_EQ(answer([] { return lutc::get_option("o"); }), text);
    const auto connections =
        call_with(encoded(response("'videoConnections':[{'sourceIndex':1,'sourceType':'input','destinationIndex':2,"
                                   "'destinationType':'elsewhere'}]")),
                  [] { return lutc::get_video_connections(); });
    EXPECT_EQ(connections, (std::vector<lutc::video_connection>{{lutc::video_end::input, 1, std::nullopt, 2}}));
}

TEST(Face, presetsAreNamedByTextOrIndex) {
    const char* const none = nullptr;
    EXPECT_EQ(lutc::preset_ref(none), lutc::preset_ref(0));
    EXPECT_EQ(lutc::preset_ref("a"), lutc::preset_ref(std::string_view("a")));
    EXPECT_NE(lutc::preset_ref(""), lutc::preset_ref(0));
    static_assert(!std::is_constructible_v<lutc::preset_ref, double> &&
                  !std::is_constructible_v<lutc::preset_ref, bool>);
}

TEST(Face, failuresSayWhy) {
    try {
        call_with(encoded("{'type':'response','code':4}"), [] { return lutc::recv_preset(1); });
        FAIL() << "no exception";
    } catch (const lutc::error& failure) {
        EXPECT_EQ(failure.code(), std::error_code(EREMOTEIO, std::generic_category()));
        EXPECT_STREQ(failure.call(), "lutc_recv_preset");
        EXPECT_STREQ(failure.what(), "lutc_recv_preset: the service refused it (its log says why)");
    }
    std::error_code code;
    EXPECT_EQ(call_with(encoded(response("'other':0")), [&] { return lutc::get_option("o", code); }), "");
    EXPECT_EQ(code.value(), EPROTO);
    EXPECT_EQ(call_with(encoded(response("'value':'v'")), [&] { return lutc::get_option("o", code); }), "v");
    EXPECT_FALSE(code);
}

// No service is there, so that a connect fails the test.
TEST(Face, textsWithAZeroByteAreRefused) {
    const std::string cut("a\0b", 3);
    const lutc::lut_1d curve{cut, {}, 0};
    const lutc::lut_3d cube{cut, {}, 0};
    const std::function<void(std::error_code&)> calls[] = {
        [&](std::error_code& e) { lutc::delete_preset(cut, e); },
        [&](std::error_code& e) { lutc::set_preset(1, cut, e); },
        [&](std::error_code& e) { lutc::set_override_preset(cut, e); },
        [&](std::error_code& e) { lutc::move_preset(cut, 1, e); },
        [&](std::error_code& e) { lutc::recv_preset(cut, e); },
        [&](std::error_code& e) { lutc::send_preset(cut, {}, e); },
        [&](std::error_code& e) { lutc::send_lut(1, cut, "f", {}, e); },
        [&](std::error_code& e) { lutc::get_option(cut, e); },
        [&](std::error_code& e) { lutc::set_option(cut, "a", e); },
        [&](std::error_code& e) { lutc::rename_preset(cut, "a", e); },
        [&](std::error_code& e) { lutc::client_info(cut, e); },
        [&](std::error_code& e) { lutc::rename_preset("a", cut, e); },
        [&](std::error_code& e) { lutc::send_lut(1, curve, {}, e); },
        [&](std::error_code& e) { lutc::send_live(1, {cube}, {}, e); },
        [&](std::error_code& e) { lutc::send_live(1, {lutc::test_pattern{cut}}, {}, e); },
        [&](std::error_code& e) { lutc::client_info("a", {}, cut, e); },
        [&](std::error_code& e) { lutc::set_option("a", cut, e); },
    };
    for (const auto& call : calls) {
        std::error_code code;
        call(code);
        EXPECT_EQ(code.value(), EINVAL);
    }
}

}  // namespace
