#include "shape.h"

namespace geometry {

Shape::Shape(int sides)
    : _sides(clamp(sides))
{
}

int Shape::sides() const
{
    return _sides;
}

int Shape::clamp(int value) const
{
    return value < 3 ? 3 : value;
}

} // namespace geometry

int perimeter(const geometry::Shape& shape, int side)
{
    return shape.sides() * side;
}
