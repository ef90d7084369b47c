# Fails unless the page PAGE shows the whole of SOURCE.
file(READ ${PAGE} page)
file(READ ${SOURCE} source)
string(FIND "${page}" "```cpp\n${source}```" place)
if(place EQUAL -1)
  message(FATAL_ERROR "${PAGE} does not show what stands in ${SOURCE}")
endif()
