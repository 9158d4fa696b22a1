#pragma once

/// How often the calling thread has called operator new in this program.
long allocationCount();
