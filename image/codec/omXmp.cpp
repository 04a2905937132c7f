#include "image/codec/omXmp.h"

#include <algorithm>
#include <iterator>

namespace
{

constexpr char Start[] = "<?xpacket begin=\"\xef\xbb\xbf\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
                         "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">\n"
                         "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n"
                         "<rdf:Description rdf:about=\"\" xmlns:om=\"http://ns.omrender.example/1.0/\">\n"
                         "<om:Origin>";
constexpr char End[] = "</om:Origin>\n"
                       "</rdf:Description>\n"
                       "</rdf:RDF>\n"
                       "</x:xmpmeta>\n"
                       "<?xpacket end=\"r\"?>";
constexpr std::size_t StartSize = sizeof Start - 1, EndSize = sizeof End - 1;

struct Entity
{
  char letter;
  const char* text;
};

constexpr Entity Entities[] = {{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}};

} // namespace

OmString OmXmp::packet(const OmString& origin)
{
  OmString result = Start;
  for (const char letter : origin)
  {
    const Entity* const entity = std::find_if(std::begin(Entities), std::end(Entities),
                                              [letter](const Entity& candidate) { return candidate.letter == letter; });
    if (entity == std::end(Entities))
      result += letter;
    else
      result += entity->text;
  }
  return result + End;
}

OmString OmXmp::origin(const OmString& packet)
{
  if (packet.size() < StartSize + EndSize)
    return "";
  OmString result = packet.substr(StartSize, packet.size() - StartSize - EndSize);
  for (const Entity& entity : {Entities[1], Entities[2], Entities[0]}) // an ampersand that comes of it begins none
    for (std::size_t at = 0; (at = result.find(entity.text, at)) != OmString::npos; ++at)
      result.replace(at, OmString(entity.text).size(), 1, entity.letter);
  return OmXmp::packet(result) == packet ? result : "";
}
