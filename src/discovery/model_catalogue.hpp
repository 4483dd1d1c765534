// Device models: which of the known models encode, decode, sit in a wall plate or belong to the second
// generation. A model name is what a unit reports under UNIT.MODEL. The comparison ignores the case of
// letters and is otherwise exact: no blank and no line end is trimmed.

#pragma once

#include <string_view>

// Each returns 1 when the model stands in its table, else 0. No model is both an encoder and a decoder; every
// wall-plate model is an encoder too.
[[nodiscard]] int is_decoder_model(std::string_view model);
[[nodiscard]] int is_encoder_model(std::string_view model);
[[nodiscard]] int is_wallplate_model(std::string_view model);
[[nodiscard]] int is_second_gen_model(std::string_view model);
