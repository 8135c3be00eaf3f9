# includes.sh - the include folders of the framework. To be sourced by bash in the project's root.

framework_includes=()
for folder in QXFramework/*/QX; do
  framework_includes+=(-I "${folder%/QX}")
done
