#include "render/window/omX11Connections.h"

#include <algorithm>

void OmX11Connections::add(const boost::shared_ptr<Display>& connection)
{
  if (std::find(m_connections.begin(), m_connections.end(), connection) == m_connections.end())
    m_connections.push_back(connection);
}

boost::shared_ptr<Display> OmX11Connections::findIdle() const
{
  const auto idle = std::find_if(m_connections.begin(), m_connections.end(),
                                 [](const auto& connection) { return connection.use_count() == 1; });
  return idle == m_connections.end() ? boost::shared_ptr<Display>() : *idle;
}
