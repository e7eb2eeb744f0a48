// Whole messages as they are on the wire, written out by hand; for the tests of the station and of the codec.
#pragma once

#include "tests/hex.h"

inline const byte_string PRE_RESPONSE = bytes_from_hex("AABBCCDD 08000000 02020000 764AEE1D");
// Request 45, atom 19 = 64.
inline const byte_string VERSION_REQUEST =
    bytes_from_hex("AABBCCDD 17000000 02000000 0F00BB2D0900 EE1301040040000000 22B9BEBE");
// Answer 46, atom 19 = 64, atom 1 = 0.
inline const byte_string VERSION_OK =
    bytes_from_hex("AABBCCDD 20000000 02000000 1800BB2E1200 EE1301040040000000 EE0101040000000000 1363203C");
// Answer 46, atom 19 = 16, atom 18 = CR "V1.0" LF LF, atom 1 = 0.
inline const byte_string VERSION_TEXT = bytes_from_hex(
    "AABBCCDD 2C000000 02000000 2400BB2E1E00 EE1301040010000000 EE120307000D56312E300A0A EE0101040000000000 3015F7BE");
// Answer 46, atom 1 = 1.
inline const byte_string VERSION_ERROR =
    bytes_from_hex("AABBCCDD 17000000 02000000 0F00BB2E0900 EE0101040001000000 59615845");
// The same on the application's link: request 45 with atom 19 = 64, and its answer with atom 1 = 0.
inline const byte_string BARE_REQUEST = bytes_from_hex("0F00BB2D0900 EE1301040040000000");
inline const byte_string BARE_OK = bytes_from_hex("1800BB2E1200 EE1301040040000000 EE0101040000000000");
// The error frame for AT text: id 0, atom 1 = 1.
inline const byte_string TEXT_ERROR =
    bytes_from_hex("AABBCCDD 17000000 02000000 0F00BB000900 EE0101040001000000 5880D273");
// Answer 46 without an atom.
inline const byte_string NO_ATOMS = bytes_from_hex("AABBCCDD 0E000000 02000000 0600BB2E0000 1A4FDEBB");
