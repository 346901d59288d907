#include "ILongLiveActionProgress.h"

namespace ptCloud
{

ILongLiveActionProgress::~ILongLiveActionProgress() = default;

} // namespace ptCloud
