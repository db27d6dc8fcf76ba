#include <Programs/mirel/Import/Part21/StepSession.h>
#include <Programs/mirel/Import/Part21/StepWorkLibrary.h>
#include <Programs/mirel/Import/SourceFile.h>
#include <Programs/mirel/StageProgress.h>

#include <Tests/Support/StepFiles.h>
#include <Tests/Support/StepScan.h>
#include <Tests/Support/TestFolder.h>

#include <Interface_Check.hxx>
#include <Interface_CheckIterator.hxx>
#include <Interface_Graph.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <STEPCAFControl_Controller.hxx>
#include <STEPControl_Controller.hxx>
#include <StepData_Protocol.hxx>
#include <StepData_StepModel.hxx>
#include <StepData_StepWriter.hxx>
#include <TCollection_HAsciiString.hxx>

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

namespace mirel {
namespace {

constexpr std::size_t kOneSection = 1 << 20;

std::string Frame(const std::string& entities) {
  return "ISO-10303-21;\nHEADER;\nFILE_DESCRIPTION(('a','b'),'2;1');\nFILE_SCHEMA(('AP'));\nENDSEC;\nDATA;"
         "\n" +
         entities + "\nENDSEC;\nEND-ISO-10303-21;\n";
}

/// Whether ours takes the text; then OpenCASCADE's must do the same with it.
bool IsTakenAlike(const std::string& text, std::size_t sectionBytes = kOneSection) {
  const StepScan ours = ScanByUs(text, sectionBytes);
  if (ours.isGood) {
    const StepScan theirs = ScanByOpenCascade(text);
    EXPECT_TRUE(theirs.isGood && ours.records == theirs.records) << text.substr(0, 1000);
  }
  return ours.isGood;
}

TEST(Part21, TakesEveryTokenAsOpenCascadeDoes) {
  for (const char* const entities : {
           "#1=A();#0002 \t= B( ) ;",
           "#1=A(1,+2,-3,007,4.,-5.5,+6.E7,8.9E-10,-0.E+0,1.7976931348623157E308,4.9E-324,"
           "99999999999999999999);",
           "#1=A('','it''s','\\X2\\5DE5\\X0\\','\\X4\\0001F600\\X0\\','\\S\\D','\\PB\\\\S\\a','\\X\\E4','"
           "\\\\','/* */','#1=B();\n#2');",
           "#1=A('a' ,'b'\n)  ;#2=A('\xe5\xb7\xa5\xff',''''\t,'b');",
           "#1=A(\"0\",\"1A2F\",.T.,.UNSPECIFIED.,._A1.,$,*,( * ),($));",
           "#1=A(#1,#2147483647,#99999999999);#2147483648=B((#1),(#2,#3));",
           "#1=A(((((1,2),(3)),()),4),(),LENGTH(1.),X(Y(Z((1),$))),NAMED((#1,#2)));",
           "#1=(A()B(1)_C2('x',(2.,3.)));#2=( A_1 (()) !MINE(#1) );",
           "#1 = CARTESIAN_POINT ( 'p' , ( 0. , 1. ) ) ;\r\n#2=\r\nlower_Case(1\r\n);",
           "/**//***//* a*b **/#1=/* ;\n */A/*(*/(/*'*/1/*x*/,/* ** */2)/**/;/* #2=B(); */",
           "#1=DATA(1);#2=STEP(#1);#3=ISO(HEADER(1));#4=ENDSEC(ENDSCOPES(1));",
       }) {
    EXPECT_TRUE(IsTakenAlike(Frame(entities))) << entities;
    EXPECT_TRUE(IsTakenAlike(Frame(entities) + "#5=; anything ' /*")) << entities;
  }
  const std::string upper = Frame("#1=A('x');");
  EXPECT_TRUE(
      IsTakenAlike("\r\n/* c */iso-10303-21-9;header;X((1));y_Z();endsec;data;#1=A();EndSec;end-iso;"));
}

TEST(Part21, LeavesToOpenCascadeWhatItIsNotSureOf) {
  for (const char* const entities : {
           "",
           ";",
           "#1=A(1)",
           "#1=A(1;",
           "#1=A(1));",
           "#1=A(,);",
           "#1=A(1,);",
           "#1=A(1 2);",

           "#1=A('a);",
           "#1=A(a);",
           "#1=A(1e5);",
           "#1=A(1E5);",
           "#1=A(12E5);",
           "#1=A(.5);",
           "#1=A(+);",
           "#1=A(1.E);",
           "#1=A(.t.);",
           "#1=A(..T.);",
           "#1=A(.1.);",
           "#1=A(\"\");",
           "#1=A(\"a\");",
           "#1=A(/1);",
           "#1=A('x'\",1);",
           "#1=A(#);",
           "#1=A($1);",
           "#1=A(1.5.2);",
           "#1=A(&);",
           "# 1=A();",
           "#1\n=A();",
           "#1/**/=A();",
           "#1=();",
           "#1=(1);",
           "#1=A;",
           "#1=1A();",
           "#1==A();",
           "#1=A()#2=B();",
           "A();",
           "#1=endscope();",
           "#1=&SCOPE #2=A(); ENDSCOPE B();",
           "#1=A(/*);",
           "#1=A(1)/;",
           "#1=A(\x80);",
           "#1=A();ENDSEC;DATA;#2=B();",
           "DATA;",
           "#1=A();\f",
       }) {
    EXPECT_FALSE(IsTakenAlike(Frame(entities))) << entities;
  }
  const std::string good = Frame("#1=A('x',1.5,.T.);");
  for (std::size_t size = 0; size + 3 < good.size(); ++size)
    EXPECT_FALSE(IsTakenAlike(good.substr(0, size))) << size;
  for (std::size_t at = 0; at < good.size(); ++at)
    EXPECT_FALSE(IsTakenAlike(good.substr(0, at) + std::string(1, '\0') + good.substr(at))) << at;
}

TEST(Part21, LongTokensAreTakenUntilOpenCascadeCouldFail) {
  const auto fill = [](const std::string& begin, std::size_t count, const std::string& end) {
    return IsTakenAlike(Frame("#1=A(" + begin + std::string(count, '1') + end + ");"));
  };
  for (const std::size_t count : {8000, 20000}) {
    EXPECT_EQ(fill("'", count, "'"), count < 8192);
    EXPECT_EQ(fill("", count, "."), count < 8192);
    EXPECT_EQ(fill("#", count, ""), count < 8192);
    EXPECT_EQ(fill(".A", count, "."), count < 8192);
    EXPECT_EQ(fill("\"", count, "\""), count < 8192);
    EXPECT_EQ(fill("A", count, "()"), count < 8192);
    EXPECT_EQ(fill("1/*", count, "*/"), count < 8192);
  }
  std::string lists;
  for (int i = 0; i < 3000; ++i)
    lists += ",(1)";
  EXPECT_TRUE(IsTakenAlike(Frame("#1=A(1" + lists + ");")));
  EXPECT_TRUE(IsTakenAlike(Frame("#1=A(" + std::string(5000, '(') + std::string(5000, ')') + ");")));
}

// Every byte is left out, doubled, or becomes another.
TEST(Part21, MutantsAreTakenAlikeOrNot) {
  const std::string text = Frame("#1=A('it''s',(1,-2.5E3),$,.T.);\n#2=(B(#1,*)C(D(\"0F\")));");
  std::size_t taken = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const std::string before = text.substr(0, at);
    const std::string behind = text.substr(at + 1);
    taken += IsTakenAlike(before + behind);
    for (const char c : std::string("'(),;=#$*.\"/+-E1aZ_!& \t\n\r\\\xff"))
      taken += IsTakenAlike(before + c + behind) + IsTakenAlike(before + c + text[at] + behind);
    for (const char* const word : {"/**/", "''", "','", "ENDSEC;", "#3=A();"})
      taken += IsTakenAlike(before + word + text[at] + behind);
  }
  EXPECT_GT(taken, text.size());
}

TEST(Part21, SectionsAreTheWhole) {
  std::string entities;
  for (int i = 1; i <= 40; ++i)
    entities +=
        "#" + std::to_string(i) + "=A('" + std::string(static_cast<std::size_t>(i), 'x') + "',((1),#2));\r\n";
  for (std::size_t bytes = 1; bytes < 500; bytes += 7)
    EXPECT_TRUE(IsTakenAlike(Frame(entities), bytes)) << bytes;
  EXPECT_TRUE(IsTakenAlike(Frame(entities) + Frame(entities), 100));
  // What looks like the beginning of an entity is not always one.
  for (const char* const odd :
       {"#41=A('\n;\n#42=A(1);\n');", "/* ;\n#42=A(1); */", "#41=A(1,/* ; #42=A('*/2);"})
    for (std::size_t bytes = 1; bytes < 100; bytes += 3)
      IsTakenAlike(Frame(entities + odd + entities), bytes);
}

TEST(Part21, RealFilesAreTakenAlike) {
  for (const std::string& file : ListStepFiles(MIREL_SAMPLE))
    EXPECT_TRUE(IsTakenAlike(ReadFile(file), 100000)) << file;
}

class NoProgress final : public StageProgress {
 public:
  void Begin(const std::string&) override {}
  void SetFraction(double) override {}
};

/// The result of reading, and what is in the model then: entities, labels, checks.
std::string Load(const StepSelect_WorkLibrary& library, const std::string& file) {
  const Handle(Interface_Protocol) protocol = STEPControl_Controller().Protocol();
  Handle(Interface_InterfaceModel) model;
  std::ostringstream text;
  text << library.ReadFile(file.c_str(), model, protocol) << "\n";
  const auto step = Handle(StepData_StepModel)::DownCast(model);
  const auto add = [&](const Handle(Interface_Check) & check) {
    for (int i = 1; i <= check->NbFails(); ++i)
      text << "fail " << check->Fail(i)->ToCString() << "\n";
    for (int i = 1; i <= check->NbWarnings(); ++i)
      text << "warning " << check->Warning(i)->ToCString() << "\n";
  };
  add(step->GlobalCheck());
  for (int i = 1; i <= step->NbEntities(); ++i) {
    text << step->Value(i)->DynamicType()->Name() << " " << step->IdentLabel(step->Value(i)) << " "
         << step->IsErrorEntity(i) << "\n";
    add(step->Check(i, Standard_True));
  }
  if (step->GlobalCheck()->NbFails() == 0) {  // of some others the writer makes text without end
    StepData_StepWriter writer(step);
    writer.SendModel(Handle(StepData_Protocol)::DownCast(protocol));
    writer.Print(text);
  }
  return text.str();
}

/// Enough entities for several threads, sound ones and all kinds of others: with wrong types, numbers and counts, without what they
/// refer to, and with odd texts.
std::string ManyEntities() {
  std::ostringstream text;
  for (int i = 0; i < 40000; i += 20) {
    const auto entity = [&](int number) { return "#" + std::to_string(i + number); };
    text << entity(1) << "=CARTESIAN_POINT('p',(1.,2.,3.));\n"
         << entity(2) << "=DIRECTION('',(0.,0." << (i % 300 == 0 ? ",1" : ",1.") << "));\n"
         << entity(3) << "=VECTOR(''," << entity(2) << (i % 700 == 0 ? ",$);\n" : ",1.);\n") << entity(4)
         << "=LINE(''," << entity(i % 500 == 0 ? 2 : 1) << "," << entity(3) << ");\n"
         << entity(5) << "=VERTEX_POINT('" << (i % 340 == 0 ? "\\X2\\5D\\X0\\\\PZ\\" : "") << "',"
         << entity(1) << ");\n"
         << entity(6) << "=EDGE_CURVE(''," << entity(5) << "," << entity(5) << "," << entity(4)
         << (i % 900 == 0 ? ",.X.);\n" : ",.T.);\n") << entity(7) << "=ORIENTED_EDGE('',*,"
         << (i % 260 == 0 ? "$" : "*") << "," << entity(6) << ",.F.);\n"
         << entity(8) << "=EDGE_LOOP('',(" << entity(7) << "," << entity(7)
         << (i % 800 == 0 ? ",#999999" : "") << "));\n"
         << entity(9) << "=FACE_BOUND(''," << entity(8) << ",.T.);\n"
         << entity(10) << "=NO_SUCH_THING(" << entity(9) << ",'x');\n"
         << entity(11) << "=(B_SPLINE_CURVE(3,(" << entity(1)
         << "),.UNSPECIFIED.,.F.,.F.)BOUNDED_CURVE());\n";
  }
  return Frame(text.str());
}

TEST(Part21, ModelsAreTheSame) {
  STEPCAFControl_Controller::Init();
  Message::DefaultMessenger()->ChangePrinters().Clear();
  const TestFolder folder;
  std::vector<std::string> files = ListStepFiles(MIREL_SAMPLE);
  for (const char* const entities : {
           "#1=CARTESIAN_POINT('',(1.,2.,3.));#2=DIRECTION('a',(0.,0.,1.));#3=AXIS2_PLACEMENT_3D('',#1,#2,$)"
           ";",
           "#1=CARTESIAN_POINT('',(1.,2.));#2=CARTESIAN_POINT(1,#3);#4=VECTOR('',"
           "#1,1.);",
           "#1=VECTOR('',#7,1.);#2=NO_SUCH_THING((1,.A.),\"0F\",*,#1,X(2.));#3=(B()A());",
           "#1=PRODUCT('\\X2\\5DE5\\X0\\','\\X2\\5\\X0\\ \\S\\D "
           "\\PZ\\','it''s\n',(#2));#2=PRODUCT_CONTEXT('',$,'x');",
           "#1=(LENGTH_UNIT()NAMED_UNIT(*)SI_UNIT(.MILLI.,.METRE.));#2=(SI_UNIT($,.METRE.)LENGTH_UNIT()NAMED_"
           "UNIT(*));",
           "#1=CARTESIAN_POINT('',(1.,2.,3.);#2=DIRECTION('a',(0.,0.,1.));",
           "#1=CARTESIAN_POINT('',(1.e1,.5,3));",
       }) {
    files.push_back(folder.GetPath() + std::to_string(files.size()) + ".step");
    WriteFile(files.back(), Frame(entities));
  }
  files.push_back(folder.GetPath() + "many.step");
  WriteFile(files.back(), ManyEntities());
  NoProgress progress;
  for (const std::string& file : files)
    EXPECT_EQ(Load(StepWorkLibrary(SourceFile(file), progress), file), Load(StepSelect_WorkLibrary(), file))
        << file;
}

/// Who refers to each entity.
std::string TellSharings(XSControl_WorkSession& session) {
  std::ostringstream text;
  for (int i = 1; i <= session.Model()->NbEntities(); ++i) {
    text << i << ":";
    for (const int from : session.Graph().SharingTable()->Value(i))
      text << " " << from;
    text << "\n";
  }
  return text.str();
}

TEST(Part21, SessionsHaveTheSameGraph) {
  Message::DefaultMessenger()->ChangePrinters().Clear();
  const TestFolder folder;
  std::vector<std::string> files = ListStepFiles(MIREL_SAMPLE);
  files.push_back(folder.GetPath() + "many.step");
  WriteFile(files.back(), ManyEntities());
  files.push_back(folder.GetPath() + "zero.step");  // is left to OpenCASCADE's scanner
  WriteFile(files.back(), Frame("#1=CARTESIAN_POINT('',(.5,2.,3.));"));
  files.push_back(folder.GetPath() + "nothing.step");
  WriteFile(files.back(), "nothing");
  NoProgress progress;
  for (const std::string& file : files) {
    const Handle(StepSession) ours = StepSession::Make();
    const SourceFile source(file);
    const IFSelect_ReturnStatus status = ours->Read(source, progress);
    const Handle(XSControl_WorkSession) theirs = new XSControl_WorkSession;
    theirs->SelectNorm("STEP");
    ASSERT_EQ(status, theirs->ReadFile(file.c_str())) << file;
    EXPECT_STREQ(ours->LoadedFile(), theirs->LoadedFile());
    if (status == IFSelect_RetDone) {
      EXPECT_EQ(TellSharings(*ours), TellSharings(*theirs)) << file;
    }
  }
}

}  // namespace
}  // namespace mirel
