#include "equil/reference/TextbookCubic.h"

namespace textbook {

template class Mixture<double>;
template class Mixture<long double>;

}  // namespace textbook
