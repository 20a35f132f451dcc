#pragma once

/// How long these tests wait for something that comes at once unless it is broken; on a busy machine too.
constexpr int PATIENCE_MS = 60'000;
