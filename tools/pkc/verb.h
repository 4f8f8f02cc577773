// What a verb of the command offers to main: it adds its options, and runs when it was chosen.
#ifndef CORVID_TOOLS_PKC_VERB_H_
#define CORVID_TOOLS_PKC_VERB_H_

#include <functional>

namespace CLI {
class App;
}

namespace corvid::tool {

// Adds the verb to the command line. When it is chosen, `*run` becomes what does its work and
// returns the exit status.
using AddVerb = void (*)(CLI::App* app, std::function<int()>* run);

void AddShow(CLI::App* app, std::function<int()>* run);
void AddVerify(CLI::App* app, std::function<int()>* run);
void AddIssue(CLI::App* app, std::function<int()>* run);
void AddVid(CLI::App* app, std::function<int()>* run);
void AddFilter(CLI::App* app, std::function<int()>* run);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_VERB_H_
