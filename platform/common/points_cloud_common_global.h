#pragma once

#include <QtGlobal>

/// Marks what the stand-in for the host's `common` library exports.
#if defined(POINTS_CLOUD_COMMON_BUILD)
#define POINTS_CLOUD_COMMON_EXPORT Q_DECL_EXPORT
#else
#define POINTS_CLOUD_COMMON_EXPORT Q_DECL_IMPORT
#endif
