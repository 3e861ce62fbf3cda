#pragma once

namespace kelvor::simulator::panel {

inline constexpr int kEdge = 16;
inline constexpr int kHeadingHeight = 22;

// Tops of the sections, from the panel's own: each a heading with what belongs to it below.
inline constexpr int kSituationTop = 62;
inline constexpr int kSentenceTop = kSituationTop + 58;
inline constexpr int kScreenTop = 182;
inline constexpr int kKeyTop = kScreenTop + 58;
inline constexpr int kTapAnswerTop = kKeyTop + 94;
inline constexpr int kServiceTop = 398;
inline constexpr int kLogonAnswerTop = 460;
inline constexpr int kHintTop = 518;
inline constexpr int kEventsTop = 608;

}  // namespace kelvor::simulator::panel
