#include "tools/Feature.h"

#include "mount/Codec.h"
#include "tools/Failure.h"
#include "tools/KnownNames.h"
#include "tools/Suggestion.h"

namespace Oru::Tools {

int switchFeature(Context const& context, std::string const& how, std::string const& name) {
  bool const on = how == "on", off = how == "off";
  if (!on && !off && how != "remove")
    throw Failure(exitUsage, "\"" + shown(how) + "\" is none of on, off, remove" +
                                 didYouMean(how, {"on", "off", "remove"}));
  if (name.empty()) throw Failure(exitUsage, "the name of a feature is not empty");
  Mount::FileTree const tree(context.tree);
  TreeData const data(scanTree(tree));
  Mount::TreePath const path{"features", name};
  bool const known = data.features.contains(name) || data.isUnreadable(path);
  if (!on && !known) requireFeature(data, name);
  if (!on && !off) {
    requireWritten(tree.remove(path), tree, path);
    context.out << "feature " << shown(name) << " is removed\n";
    return exitOk;
  }
  requireWritten(tree.put(path, Mount::Codec::jsonOfFeature(on)), tree, path);
  context.out << "feature " << shown(name) << (known ? " is " : " is new and ") << how << '\n';
  return exitOk;
}

}  // namespace Oru::Tools
