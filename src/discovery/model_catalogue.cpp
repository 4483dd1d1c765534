#include "discovery/model_catalogue.hpp"

#include <algorithm>
#include <array>
#include <span>

#include "base/text.hpp"

namespace {

constexpr auto decoder_models = std::to_array<std::string_view>({
    "RX610",
    "RX620",
    "RX630",
    "KestR",
    "KestR-2",
    "QV8R",
});
constexpr auto encoder_models = std::to_array<std::string_view>({
    "TX610",
    "TX620",
    "TX630",
    "KestT",
    "KestT-PL",
    "KestT-PL-K",
    "KestT-PL-RF",
    "KestT-2",
    "QV8T",
    "T-PL",
    "T-PL-K",
    "T-PL-RF",
});
constexpr auto wallplate_models = std::to_array<std::string_view>({
    "KestT-PL",
    "KestT-PL-K",
    "KestT-PL-RF",
    "T-PL",
    "T-PL-K",
    "T-PL-RF",
});
constexpr auto second_gen_models = std::to_array<std::string_view>({
    "KestT-2",
    "KestR-2",
});

int is_listed(std::span<const std::string_view> models, std::string_view model) {
  return std::ranges::any_of(models, [model](std::string_view row) { return equal_no_case(row, model); }) ? 1
                                                                                                          : 0;
}

}  // namespace

int is_decoder_model(std::string_view model) {
  return is_listed(decoder_models, model);
}

int is_encoder_model(std::string_view model) {
  return is_listed(encoder_models, model);
}

int is_wallplate_model(std::string_view model) {
  return is_listed(wallplate_models, model);
}

int is_second_gen_model(std::string_view model) {
  return is_listed(second_gen_models, model);
}
