#include <cmath>

#include "input/UserCmd.h"
#include "lab/EOSLab.h"

namespace kestrane {

struct Kval_Data {
    std::vector<double> k;  ///< one per component; 1 where none was given
};
using Kval_Cmd = UserCmd<EOSLab, Kval_Data>;

/// As many numbers as there are components, over as many lines as they take.
template <>
void Kval_Cmd::Read(Reader& reader, const std::string&) {
    const Charzation* charz = user().Charz_User::current();
    if (!charz) {
        if (!reader.definitions_lost())
            reader.ErrorHere({"K-values cannot be given without a prior fluid characterization."});
        reader.SkipStatement();
        return;
    }
    const LineLimitScope many_lines(reader, -1);
    k.assign(charz->size(), 1.0);
    reader.NextDoubles(k);
}

/// A negative K has no logarithm: it leaves NaN, which the split takes as out of range.
template <>
void Kval_Cmd::Execute(Reader&) {
    PVTCell& cell = user().cell();
    cell.ln_k.resize(k.size());
    cell.k = k;
    for (std::size_t i = 0; i < k.size(); ++i) cell.ln_k[i] = std::log(k[i]);
}

namespace {
const UserKey<EOSLab, Kval_Data> kval_key{"KVAL&", "K-VAL&"};
}

}  // namespace kestrane
