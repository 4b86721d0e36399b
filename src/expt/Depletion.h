#pragma once

#include "expt/PVTzEXPA.h"

namespace kestrane {

// Experiments that take out part of a phase at every stage.

/// All gas is taken out.
class PVTzDFLG : public PVTzEXPA {
public:
    std::string title() const override;
    void setRemoval(const ExptData& row) override;
};
/// All liquid is taken out.
class PVTzDFLL : public PVTzEXPA {
public:
    std::string title() const override;
    void setRemoval(const ExptData& row) override;
};
/// Gas is taken out down to the basis volume.
class PVTzCVDG : public PVTzEXPA {
public:
    std::string title() const override;
    void setRemoval(const ExptData& row) override;
};
/// Liquid is taken out down to the basis volume.
class PVTzCVDL : public PVTzEXPA {
public:
    std::string title() const override;
    void setRemoval(const ExptData& row) override;
};
/// Gas is taken out down to the basis moles.
class PVTzCMDG : public PVTzEXPA {
public:
    std::string title() const override;
    void setRemoval(const ExptData& row) override;
};
/// Liquid is taken out down to the basis moles.
class PVTzCMDL : public PVTzEXPA {
public:
    std::string title() const override;
    void setRemoval(const ExptData& row) override;
};
/// Gas is taken out down to the basis mass.
class PVTzCWDG : public PVTzEXPA {
public:
    std::string title() const override;
    void setRemoval(const ExptData& row) override;
};
/// Liquid is taken out down to the basis mass.
class PVTzCWDL : public PVTzEXPA {
public:
    std::string title() const override;
    void setRemoval(const ExptData& row) override;
};

}  // namespace kestrane
