// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Makes some memory ready for the calling thread, and for threads that start after it has ended. The system clears a
/// page when it is first touched, which takes about as long as a small file needs a page. Takes some milliseconds.
void ktReserveMemory();
