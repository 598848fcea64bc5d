// The key used when none is given. It is no secret: everyone who has the library has it.
#pragma once

namespace zar {

constexpr int default_key_length = 16;
constexpr unsigned char default_key[default_key_length] = {'A', 'm', 'b', 'e', 'r', 'H', 'a', 'r',
                                                           'b', 'o', 'r', 'F', 'j', 'o', 'r', 'd'};

} // namespace zar
