#pragma once

#include "frame/Program.h"
#include "lab/EOSLab.h"

namespace kestrane {

/// The application: a program with a laboratory in it.
class Kestrane : public Program {
public:
    Kestrane();
    void Run(Reader& reader, Writer& writer) override;

    EOSLab& laboratory() { return lab_; }

private:
    EOSLab lab_;
};

}  // namespace kestrane
