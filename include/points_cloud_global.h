#pragma once

#include <QtGlobal>

/// Marks what the shared library exports. `POINTS_CLOUD_BUILD` is defined only while the library itself is compiled.
#if defined(POINTS_CLOUD_BUILD)
#define POINTS_CLOUD_EXPORT Q_DECL_EXPORT
#else
#define POINTS_CLOUD_EXPORT Q_DECL_IMPORT
#endif
