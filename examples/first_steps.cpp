// The library of presets, end to end: lists it, stores a look, shows it, reads it back, and says why a call failed.
#include <cstdio>
#include <lutc/lutc.hpp>

int main() {
    try {
        for (const lutc::preset_entry& preset : lutc::preset_list().presets) std::printf("%s\n", preset.name.c_str());

        lutc::cdl_values warm;
        warm.slope = {1.1, 1.0, 0.9};
        warm.slot = 1;
        const lutc::grade look{warm};
        lutc::send_preset("first steps", look, {0, 1});
        lutc::set_preset(1, "first steps");
        std::printf("channel 1 shows \"%s\"\n", lutc::get_preset(1).name.c_str());
        const bool is_same = lutc::recv_preset("first steps").components == look;
        std::printf("what came back is %s\n", is_same ? "what was sent" : "something else");

        lutc::delete_preset("first steps");
        std::error_code gone;
        lutc::recv_preset("first steps", gone);
        std::printf("reading it once more: %s\n", lutc::reason(gone.value()).c_str());
    } catch (const lutc::error& failure) {
        std::printf("%s\n", failure.what());
        return 1;
    }
}
