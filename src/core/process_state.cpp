#include "core/process_state.h"

namespace tlm {

namespace {
ProcessState g_state;
}

ProcessState& Process() {
    return g_state;
}

void ResetProcessStateForTests() {
    g_state = ProcessState{};
}

}  // namespace tlm
