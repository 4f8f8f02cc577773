// Signals that end a run early: what is complete is still written, and the caller says where a
// later run goes on.
#ifndef CORVID_TOOLS_PKC_INTERRUPT_H_
#define CORVID_TOOLS_PKC_INTERRUPT_H_

namespace corvid::tool {

// Catches SIGINT, SIGTERM and SIGHUP once; a second one ends the process at once.
void CatchInterrupts();
// The signal that came; 0 for none.
int Interrupt();

// True when something can be read from the descriptor, or it has ended. With `wait` it waits for
// that, unless a signal comes.
bool HasInput(int descriptor, bool wait);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_INTERRUPT_H_
