// Device models: which models are encoders, decoders, wall-plate units or of the second generation. The model
// is what a unit reports as UNIT.MODEL. It is compared without regard to letter case; blanks and line ends
// are not trimmed.

#pragma once

#include <string_view>

// Each returns 1 when the model is in its table, else 0. No model is both an encoder and a decoder. Every
// wall-plate model is also an encoder.
[[nodiscard]] int is_decoder_model(std::string_view model);
[[nodiscard]] int is_encoder_model(std::string_view model);
[[nodiscard]] int is_wallplate_model(std::string_view model);
[[nodiscard]] int is_second_gen_model(std::string_view model);
