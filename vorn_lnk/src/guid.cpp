#include <vorn_lnk/guid>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

namespace Vorn {

std::string CreateGuid() { return boost::uuids::to_string(boost::uuids::random_generator()()); }

}  // namespace Vorn
