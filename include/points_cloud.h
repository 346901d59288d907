#pragma once

/// \file
/// The whole library in one header.

#include "IDataSetReader.h"
#include "ILongLiveActionProgress.h"
#include "LasFile.h"
#include "LasRecords.h"
#include "PtCloudDataSet.h"
#include "PtCloud_ContourFile.h"
#include "PtCloud_Controller.h"
#include "PtCloud_DataSetFile.h"
#include "PtCloud_DataSetMemory.h"
#include "PtCloud_Project.h"
#include "PtCloud_Types.h"
#include "VolumeCalcArea.h"
#include "VolumeCalcAreaList.h"
#include "pcBoundingVolume.h"
#include "pcMatrix.h"
#include "pcQuat.h"
#include "pcVec.h"
#include "points_cloud_global.h"
#include "stPrism.h"
#include "stPtCloud_PointArray.h"
