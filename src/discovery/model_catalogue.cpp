#include "discovery/model_catalogue.hpp"

#include <algorithm>
#include <span>

#include "base/text.hpp"
#include "discovery/catalogue_tables.hpp"

namespace {

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
