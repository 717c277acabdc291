// The vocabulary of compiled regular-expression programs, for both character widths: the compile errors,
// the operation codes, the geometry of class bitmaps, and the test of one program item against the text.
// The compiler, the matcher and the program dump all read programs through these definitions, so that
// they agree on every unit, including the odd ones (a literal whose code equals an operation code is that
// operation wherever it is read).
#pragma once

#include <cstddef>
#include <type_traits>

namespace scrivix {

// Result of compiling a pattern text; the pattern object maps each failure to its message.
enum PatternError {
    peNone = 0,  // success
    peIllegalExpression = 1,
    peNoMemory = 2,
    peImproperPattern = 3,
    peImproperClosure = 4,
};

template <typename T>
struct RegexCodes {
    static_assert(std::is_same_v<T, char> || std::is_same_v<T, char16_t>, "8-bit or 16-bit characters");

    // Program units and text characters are compared as unsigned values of their own width.
    using Unit = std::conditional_t<sizeof(T) == 1, unsigned char, char16_t>;
    static constexpr bool kWide = sizeof(T) == 2;
    static constexpr unsigned kUnitMask = kWide ? 0xFFFF : 0xFF;

    // An operation code is its metacharacter plus the operation flag.
    static constexpr Unit kFlag = kWide ? 0x8000 : 0x80;
    static constexpr Unit Operation(char meta) { return Unit(kFlag | Unit(meta)); }
    static constexpr Unit opAnyChar = Operation('.');
    static constexpr Unit opClass = Operation('[');
    static constexpr Unit opLineStart = Operation('^');
    static constexpr Unit opLineBreakStart = Operation('~');
    static constexpr Unit opLineEnd = Operation('$');
    static constexpr Unit opLineBreakEnd = Operation('#');
    static constexpr Unit opStar = Operation('*');
    static constexpr Unit opPlus = Operation('+');
    static constexpr Unit opOptional = Operation('?');

    // A class bitmap follows its opClass unit inline. Only the low 7 (15) bits of a character select its
    // bit, so an 8-bit class tells 128 codes apart and a 16-bit class 32768.
    static constexpr std::size_t kClassUnits = kWide ? 4096 : 16;
    static constexpr unsigned kBitsPerUnit = kWide ? 16 : 8;
    static constexpr unsigned kCodeMask = kWide ? 0x7FFF : 0x7F;
    static constexpr unsigned kUnitShift = kWide ? 4 : 3;

    // A program is stored with this many zero units after its end. An item at the end of a program may
    // reach past it (a closure code with no item after it, or a literal read as opClass whose bitmap
    // the program does not hold); such reads find zeros, the same as the program's terminator.
    static constexpr std::size_t kPadding = kClassUnits + 2;

    static bool IsClosure(Unit u) { return u == opStar || u == opPlus || u == opOptional; }
    static std::size_t ItemLength(Unit op) { return op == opClass ? 1 + kClassUnits : 1; }
    static bool IsAnchor(Unit u) {
        return u == opLineStart || u == opLineBreakStart || u == opLineEnd || u == opLineBreakEnd;
    }

    static bool InClass(const T* bitmap, Unit c) {
        const unsigned code = c & kCodeMask;
        return (Unit(bitmap[code >> kUnitShift]) >> (code & (kBitsPerUnit - 1))) & 1U;
    }
    static void AddToClass(T* bitmap, unsigned code) {
        code &= kCodeMask;
        bitmap[code >> kUnitShift] = T(Unit(bitmap[code >> kUnitShift]) | Unit(1U << (code & (kBitsPerUnit - 1))));
    }

    // Length of the line break at p: a line feed or carriage return, taking the other one after it too.
    static int LineBreakAt(const T* p, const T* z) {
        const Unit c = Unit(*p);
        if (c != '\n' && c != '\r') return 0;
        const Unit pair = c == '\n' ? '\r' : '\n';
        return p + 1 < z && Unit(p[1]) == pair ? 2 : 1;
    }

    // Tests the item whose first unit is at `item` at text position p of the buffer [b, z), b <= p <= z.
    // Returns the number of characters it consumes, or -1 when it does not match. Any unit that is no
    // item operation (closure codes included) is a literal.
    static int Test(const T* item, const T* b, const T* z, const T* p) {
        const Unit op = Unit(*item);
        switch (op) {
        case opAnyChar:
            return p < z && Unit(*p) != '\n' ? 1 : -1;
        case opClass:
            return p < z && InClass(item + 1, Unit(*p)) ? 1 : -1;
        case opLineStart:
            return p == b || (p < z && Unit(*p) == '\n') || Unit(p[-1]) == '\n' ? 0 : -1;
        case opLineBreakStart:
            return p == b ? 0 : p < z && LineBreakAt(p, z) ? LineBreakAt(p, z) : -1;
        case opLineEnd:
            return p == z || Unit(*p) == '\r' || Unit(*p) == '\n' || Unit(*p) == 0 ? 0 : -1;
        case opLineBreakEnd:
            return p == z || Unit(*p) == 0 ? 0 : LineBreakAt(p, z) ? LineBreakAt(p, z) : -1;
        default:
            return p < z && Unit(*p) == op ? 1 : -1;
        }
    }
};

}  // namespace scrivix
