#pragma once

/// Lets the process have as many descriptors as the system allows it. The usual limit, 1,024, protects
/// programs that use select(), and this one does not. Does nothing on Windows, which has no such limit.
void RaiseDescriptorLimit();
