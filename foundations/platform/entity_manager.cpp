#include <hubstore/foundations/platform/entity_manager.h>

namespace Mirra {

const Vex::TypeDescriptor& EntityManager::staticType() {
  static const Vex::TypeDescriptor type("Mirra::EntityManager", {});
  return type;
}

Vex::Ptr<Vex::Entity> EntityManager::getEntity(const Vex::String& path) const {
  auto found = entities_.find(path);
  return found == entities_.end() ? Vex::Ptr<Vex::Entity>() : found->second;
}

void EntityManager::entityIs(const Vex::String& path, const Vex::Ptr<Vex::Entity>& entity) {
  entities_[path] = entity;
}

bool EntityManager::entityDel(const Vex::String& path) { return entities_.erase(path) > 0; }

}  // namespace Mirra
