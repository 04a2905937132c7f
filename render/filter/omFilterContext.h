#ifndef OM_FILTER_CONTEXT_H
#define OM_FILTER_CONTEXT_H

#include "foundation/core/omTypes.h"

#include <memory>

class OmSimpleWindow;
class OmWindow;

/// Where a filter works: in the context of the current window, or in a hidden window that is opened while no window is
/// current, and kept.
class OmFilterContext
{
public:
  OmFilterContext();
  OmFilterContext(const OmFilterContext&) = delete;
  OmFilterContext& operator=(const OmFilterContext&) = delete;
  /// Closes the hidden window. The current window stays current.
  ~OmFilterContext();

  /// Has the context current while it lives; then the window that was current is so again, or none.
  class Use
  {
  public:
    explicit Use(OmFilterContext& context);
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
    ~Use();

    /// Whether a context is current. If not, an error message says why.
    bool isCurrent() const { return m_isCurrent; }

  private:
    OmWindow* m_before;
    bool m_isCurrent;
  };

private:
  bool makeCurrent();

  std::unique_ptr<OmSimpleWindow> m_window; ///< the hidden one
};

#endif
