#pragma once
/// \class Mirra::EntityManager
/// The in-memory state database. Records are placed at
/// paths by the side that owns them (the mount machinery, or a test) and found
/// by path with getEntity().

#include <map>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/string.h>
#include <hubstore/foundations/framework/type_descriptor.h>

namespace Mirra {

class EntityManager : public Vex::PtrInterface {
 public:
  /// A new, empty database.
  static Vex::Ptr<EntityManager> EntityManagerIs() { return Vex::make<EntityManager>(); }
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// The entity at `path`, or null.
  Vex::Ptr<Vex::Entity> getEntity(const Vex::String& path) const;
  /// Places `entity` at `path`, replacing what was there. The database holds
  /// a counted reference; watchers are not told.
  void entityIs(const Vex::String& path, const Vex::Ptr<Vex::Entity>& entity);
  /// Removes the entity at `path`; returns whether there was one.
  bool entityDel(const Vex::String& path);
  /// Every entity, by path in text order.
  const std::map<Vex::String, Vex::Ptr<Vex::Entity>>& entities() const { return entities_; }

 protected:
  /// Made only by Vex::make.
  ///@{
  EntityManager() = default;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  std::map<Vex::String, Vex::Ptr<Vex::Entity>> entities_;
};

}  // namespace Mirra
