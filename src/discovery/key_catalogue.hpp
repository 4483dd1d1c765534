// Parameter keys: which classes a key belongs to. The classes decide which keys become CSV columns, which an
// import header may hold and which settings a unit of a given kind is sent. A key may belong to several.

#pragma once

#include <cstdint>

inline constexpr std::uint16_t KEY_CLASS_ENCODER = 0x10;  // settings that only encoders take
inline constexpr std::uint16_t KEY_CLASS_DECODER = 0x20;  // settings that only decoders take
inline constexpr std::uint16_t KEY_CLASS_STATUS = 0x40;  // values that a unit reports and that are never sent
inline constexpr std::uint16_t KEY_CLASS_EXCLUDED =
    0x80;  // queries, commands, unit-only settings: no CSV column
inline constexpr std::uint16_t KEY_CLASS_EXTENDED = 0x100;  // only for wall-plate and second-generation units
inline constexpr std::uint16_t KEY_CLASS_SECOND_GEN = 0x200;  // only for second-generation units

// Returns those of the asked classes that the key belongs to; letter case counts. A key that ends in "_" is
// KEY_CLASS_EXCLUDED whatever its name. A key that is null, empty or longer than 63 characters has no class.
// The key's first line feed, if any, is replaced by a zero byte in the caller's text. A carriage return
// stays: such a key matches no row and does not end in "_".
[[nodiscard]] std::uint16_t classify_key(char* key, std::uint16_t classes);
