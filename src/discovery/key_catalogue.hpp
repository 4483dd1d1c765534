// Parameter keys: the classes of each key. They decide which keys become CSV columns, which ones an import
// header may contain, and which settings a unit of a given model is sent. A key may have several classes.

#pragma once

#include <cstdint>

inline constexpr std::uint16_t KEY_CLASS_ENCODER = 0x10;  // settings that only encoders take
inline constexpr std::uint16_t KEY_CLASS_DECODER = 0x20;  // settings that only decoders take
inline constexpr std::uint16_t KEY_CLASS_STATUS = 0x40;   // values that a unit reports; never sent to one
inline constexpr std::uint16_t KEY_CLASS_EXCLUDED =
    0x80;  // queries, commands, unit-only settings: no CSV column
inline constexpr std::uint16_t KEY_CLASS_EXTENDED = 0x100;  // only for wall-plate and second-generation units
inline constexpr std::uint16_t KEY_CLASS_SECOND_GEN = 0x200;  // not used by the program

// Returns those of the given classes that the key has. Letter case counts. Every key that ends in "_" is
// KEY_CLASS_EXCLUDED. A key that is null, empty or longer than 63 bytes has no class. Replaces the key's
// first line feed by a zero byte, in the caller's text. Quirk: a carriage return stays, and the key then
// equals no key of the tables and does not end in "_".
[[nodiscard]] std::uint16_t classify_key(char* key, std::uint16_t classes);
