#include "pcMatrix.h"

// The one place that instantiates the family: what these headers define is not for any other file.
#include "pcMatrix_Access.h"
#include "pcMatrix_Inverse.h"
#include "pcMatrix_Makers.h"
#include "pcMatrix_Product.h"
#include "pcMatrix_View.h"

namespace ptCloud
{

template class pcMatrix<float>;
template class pcMatrix<double>;

} // namespace ptCloud
