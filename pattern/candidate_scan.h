// How the searches of a pattern move to the next position where an attempt can begin, literal and regular
// expression alike.
#pragma once

namespace scrivix {

// `plain` tries every position, exactly as the algorithm reads; `jump` lets a scanner skip the positions
// where no attempt can succeed (no first character there, no rare character where it should be). Both give
// the same results: `plain` is there to check and to measure `jump` against.
enum class CandidateScan { plain, jump };

}  // namespace scrivix
