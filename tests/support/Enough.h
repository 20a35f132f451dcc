#pragma once

/// How long a test waits for what must happen, in milliseconds: longer than it takes on a busy machine.
inline constexpr int ENOUGH_MS = 30'000;
