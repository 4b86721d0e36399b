#include "frame/PtrTo.h"

namespace kestrane {

void destroy_shared(CountCell* cell) {
    cell->destroy(cell->object);
    delete cell;
}

}  // namespace kestrane
